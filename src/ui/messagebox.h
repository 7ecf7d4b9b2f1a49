#pragma once

#include <QMessageBox>
#include <QString>
#include <functional>

class QWidget;

// Confirmation and notice boxes. "确认" accepts, "取消" cancels.
namespace MessageBox {

// Application-modal; true when "确认" ends it.
bool showIsOk(const QString &title, const QString &value, QMessageBox::Icon style = QMessageBox::Warning);
// Modal to `window` only (application-modal when it is null); the callback gets true for "确认".
void showIsOk(const QString &title, const QString &value, QWidget *window, QMessageBox::Icon style,
              std::function<void(bool)> callback);
// One "确认" button, modal to `window`; the callback runs when the box closes.
void show(const QString &title, const QString &value, QWidget *window = nullptr,
          QMessageBox::Icon style = QMessageBox::Warning, std::function<void()> callback = {});

} // namespace MessageBox
