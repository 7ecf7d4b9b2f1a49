#pragma once

#include <QImage>
#include <QString>

// The icon a Wayland window's application declares in its desktop entry: the windows themselves
// carry none on Wayland.
namespace ApplicationIcon {

// The entry named after the app id, its Icon= key: a file, or a name in the icon theme. A
// themed icon is looked up only on the GUI thread (the theme machinery is not thread-safe);
// null when there is no entry or no icon. themedName, where the compositor names one, stands in
// for a missing entry.
QImage forApplication(const QString &appId, const QString &themedName = {});
} // namespace ApplicationIcon
