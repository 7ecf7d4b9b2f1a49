#include "testenv.h"

#include "model/logging.h"

#include <QtGlobal>

TestEnv::TestEnv() {
    // Log lines as the application prints them, so tests read the same text users see.
    qInstallMessageHandler(logging::printPlainLine);
    qputenv("QUILLORA_HOME", home_.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", config_.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", (config_.path() + QStringLiteral("/data")).toLocal8Bit());
}
