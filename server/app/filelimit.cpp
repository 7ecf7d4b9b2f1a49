#include "app/filelimit.h"

#include "log/servicelog.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace FileLimit {

std::size_t raise(std::size_t wanted) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur >= wanted)
        return limit.rlim_cur;
    const rlim_t target =
        limit.rlim_max == RLIM_INFINITY ? rlim_t(wanted) : std::min<rlim_t>(limit.rlim_max, wanted);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = std::max(target, before);
    const bool raised = ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
    const auto now = raised ? limit.rlim_cur : before;
    if (now < wanted)
        ServiceLog::write("cannot raise the open-file limit to " + std::to_string(wanted) + " (it stays at " +
                          std::to_string(now) + (raised ? "" : std::string(": ") + std::strerror(errno)) +
                          "); fewer connections and change streams can be open at once");
    else if (now != before)
        ServiceLog::write("open-file limit raised to " + std::to_string(now));
    return now;
}

} // namespace FileLimit
