#pragma once

#include <QLoggingCategory>

// One category per layer; QT_LOGGING_RULES can silence or widen any of them. Every line is printed
// by the application's one message handler (LogHandler), so lines users and tests rely on keep
// their text exactly.
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcCloud)
Q_DECLARE_LOGGING_CATEGORY(lcStore)
Q_DECLARE_LOGGING_CATEGORY(lcSend)
Q_DECLARE_LOGGING_CATEGORY(lcDesktop)
Q_DECLARE_LOGGING_CATEGORY(lcLibrary)
Q_DECLARE_LOGGING_CATEGORY(lcEditor)
Q_DECLARE_LOGGING_CATEGORY(lcQuickBar)

namespace logging {

// The application's message handler: each message as one plain line, with no category or level
// prefix; warnings and worse on standard error, everything else on standard output.
void printPlainLine(QtMsgType type, const QMessageLogContext &context, const QString &message);

} // namespace logging
