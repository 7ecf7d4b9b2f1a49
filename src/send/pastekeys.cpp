#include "send/pastekeys.h"

#include <QHash>

namespace {

using Key = DesktopBackend::Key;
using Stroke = DesktopBackend::Stroke;

const Stroke ctrlV{Key::V, true, false};
const Stroke ctrlShiftV{Key::V, true, true};
const Stroke shiftInsert{Key::Insert, false, true};

// Terminals by desktop id and by WM_CLASS class, in lower case.
const QHash<QString, Stroke> &terminals() {
    static const QHash<QString, Stroke> table{
        {QStringLiteral("xterm"), shiftInsert},
        {QStringLiteral("urxvt"), shiftInsert},
        {QStringLiteral("rxvt"), shiftInsert},
        {QStringLiteral("urxvt-unicode"), shiftInsert},
        {QStringLiteral("org.gnome.terminal"), ctrlShiftV},
        {QStringLiteral("gnome-terminal"), ctrlShiftV},
        {QStringLiteral("gnome-terminal-server"), ctrlShiftV},
        {QStringLiteral("org.kde.konsole"), ctrlShiftV},
        {QStringLiteral("konsole"), ctrlShiftV},
        {QStringLiteral("xfce4-terminal"), ctrlShiftV},
        {QStringLiteral("com.gexperts.tilix"), ctrlShiftV},
        {QStringLiteral("tilix"), ctrlShiftV},
        {QStringLiteral("terminator"), ctrlShiftV},
        {QStringLiteral("alacritty"), ctrlShiftV},
        {QStringLiteral("kitty"), ctrlShiftV},
        {QStringLiteral("org.wezfurlong.wezterm"), ctrlShiftV},
        {QStringLiteral("wezterm"), ctrlShiftV},
        {QStringLiteral("foot"), ctrlShiftV},
        {QStringLiteral("footclient"), ctrlShiftV},
    };
    return table;
}

} // namespace

std::optional<DesktopBackend::Stroke> PasteKeys::parse(const QString &text) {
    const QString key = text.trimmed().toLower().remove(QLatin1Char(' '));
    if (key == QLatin1String("ctrl+v"))
        return ctrlV;
    if (key == QLatin1String("ctrl+shift+v"))
        return ctrlShiftV;
    if (key == QLatin1String("shift+insert"))
        return shiftInsert;
    return std::nullopt;
}

PasteKeys::Paste PasteKeys::forProgram(const std::optional<QString> &identifier, const QString &configured) {
    Paste paste;
    if (!identifier || identifier->isEmpty())
        return paste;
    const QString id = identifier->toLower();
    const auto terminal = terminals().constFind(id);
    if (terminal != terminals().constEnd()) {
        paste.stroke = *terminal;
        paste.takesPictures = false;
    }
    if (const auto stroke = parse(configured))
        paste.stroke = *stroke;
    paste.primary = paste.stroke == shiftInsert;
    return paste;
}
