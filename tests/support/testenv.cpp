#include "testenv.h"

#include <QtGlobal>

TestEnv::TestEnv() {
    qputenv("QUILLORA_HOME", home_.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", config_.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", (config_.path() + QStringLiteral("/data")).toLocal8Bit());
}
