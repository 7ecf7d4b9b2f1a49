#include "model/logging.h"

Q_LOGGING_CATEGORY(lcApp, "quillora.app")
Q_LOGGING_CATEGORY(lcCloud, "quillora.cloud")
Q_LOGGING_CATEGORY(lcStore, "quillora.store")
Q_LOGGING_CATEGORY(lcSend, "quillora.send")
Q_LOGGING_CATEGORY(lcDesktop, "quillora.desktop")
Q_LOGGING_CATEGORY(lcLibrary, "quillora.library")
Q_LOGGING_CATEGORY(lcEditor, "quillora.editor")
Q_LOGGING_CATEGORY(lcQuickBar, "quillora.quickbar")

#include <cstdio>

namespace logging {

void printPlainLine(QtMsgType type, const QMessageLogContext &, const QString &message) {
    FILE *stream = (type == QtDebugMsg || type == QtInfoMsg) ? stdout : stderr;
    const QByteArray line = message.toUtf8();
    std::fwrite(line.constData(), 1, size_t(line.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

} // namespace logging
