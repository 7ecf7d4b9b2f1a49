#pragma once

#include "desktop/desktopbackend.h"

#include <QString>
#include <optional>

// The paste stroke of each program. Most take Ctrl+V; terminals keep Ctrl+V for the terminal
// itself (it arrives as ^V), paste with Ctrl+Shift+V, and the oldest ones with Shift+Insert from
// the PRIMARY selection. A line "pasteKeys/<identifier>=ctrl+v | ctrl+shift+v | shift+insert" in
// the settings file replaces the default for that program.
namespace PasteKeys {

struct Paste {
    DesktopBackend::Stroke stroke{DesktopBackend::Key::V, true, false};
    // The piece goes on PRIMARY as well: Shift+Insert pastes from there.
    bool primary = false;
    // A terminal cannot show a picture.
    bool takesPictures = true;
};

// For a program identifier (desktop id or WM_CLASS class); case does not matter. configured is the
// stroke the settings name for it, if any.
Paste forProgram(const std::optional<QString> &identifier, const QString &configured = {});
// "ctrl+v", "ctrl+shift+v", "shift+insert"; absent for anything else.
std::optional<DesktopBackend::Stroke> parse(const QString &text);

} // namespace PasteKeys
