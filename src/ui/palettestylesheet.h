#pragma once

#include <QObject>
#include <QPalette>
#include <QString>
#include <functional>

class QWidget;

// A widget's style sheet made from the application's palette, and made again when that palette
// changes (a switch between light and dark while the program runs): colours written into a style
// sheet would otherwise stay those of the palette it was made with.
class PaletteStyleSheet : public QObject {
    Q_OBJECT
public:
    using Maker = std::function<QString(const QPalette &)>;

    // Sets the sheet now; the object lives as long as the widget.
    static void apply(QWidget *widget, Maker maker);
    // After the application's palette changed: every sheet made from it is made again, and every
    // other widget with a style sheet is polished again (a styled widget keeps the palette it was
    // polished with).
    static void refreshAll();

private:
    PaletteStyleSheet(QWidget *widget, Maker maker);
    void update();

    QWidget *widget_;
    Maker maker_;
};
