#pragma once

#include "model/phrase.h"

#include <QList>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <optional>

class PhraseSender;
class Settings;
class QuickBarSlot;
class QToolButton;
class QuickBarShortcuts;

// The strip of twelve slots "F1" .. "F12" and a search button that stays above other windows and
// never takes the keyboard focus, so the chat program keeps it while the agent clicks a slot.
// Slot n stands for phrase n of the list shown in the home window, looked up at the moment of the
// gesture; the bar itself holds no phrases.
class QuickBar : public QWidget {
    Q_OBJECT
public:
    // Always twelve, whatever the number of phrases.
    static constexpr int numberOfItems = 12;
    static constexpr int itemSpacing = 5;

    // Phrase n of the list currently shown; absent past its end or while no list is loaded.
    using ListSource = std::function<std::optional<Phrase>(int)>;
    // Makes row n the selection of that list.
    using RowSelector = std::function<void(int)>;

    // A tap sends through sender.
    QuickBar(Settings &settings, PhraseSender &sender, QWidget *parent = nullptr);
    ~QuickBar() override;

    void setListSource(ListSource list, RowSelector select);
    // The team a phrase comes from, named before it in the slot's tooltip; empty for the agent's own.
    void setBadgeSource(std::function<QString(const Phrase &)> badge) { badge_ = std::move(badge); }
    // The window a tap brings forward (the home window), and its search field.
    void setHomeWindow(QWidget *window);
    void setSearchField(QWidget *field);
    // Global shortcuts: the modifiers ("Ctrl+Shift", "Super", "None" for bare keys) with F1 .. F12.
    // An empty text turns them off. False, with the reason logged, when not all are set.
    bool setShortcutModifiers(const QString &modifiers);
    // The modifiers of the settings; absent or empty, the default, means no shortcuts.
    bool applyShortcutSetting();

    QuickBarSlot *item(int index) const { return items_.value(index); }
    QToolButton *searchButton() const { return search_; }
    QToolButton *closeButton() const { return close_; }
    // The slot that is pressed and not yet tapped, or -1.
    int selectedIndex() const;

public Q_SLOTS:
    // Shows the bar above other windows without taking the keyboard focus.
    void present();
    // The pointer is over slot n: select phrase n of the shown list, if there is one.
    void slotHovered(int index);
    // Slot n was tapped: send phrase n of the shown list with Enter, if there is one.
    void slotTapped(int index);
    // The search button: the home window in front and active, typing into its search field.
    void searchClicked();

Q_SIGNALS:
    void highlighted(int index);
    void tapped(int index);
    void searchClick();

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    std::optional<Phrase> phraseAt(int index) const;
    // The close and search icons in the palette's text colour.
    void paintIcons();
    void placeOnScreen();

    Settings &settings_;
    PhraseSender &sender_;
    QList<QuickBarSlot *> items_;
    QToolButton *search_ = nullptr;
    QToolButton *close_ = nullptr;
    ListSource list_;
    RowSelector select_;
    std::function<QString(const Phrase &)> badge_;
    QPointer<QWidget> homeWindow_;
    QPointer<QWidget> searchField_;
    QuickBarShortcuts *keys_ = nullptr;
    bool placed_ = false;
    bool moved_ = false;
    std::optional<QPoint> dragOffset_;
};
