#include "effects.h"

#include <cstdarg>
#include <syslog.h>

// Doubles of the system's calls: the test program's own definitions come first.
extern "C" {

void syslog(int priority, const char *pFormat, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, pFormat);
    vsnprintf(text, sizeof text, pFormat, arguments);
    va_end(arguments);
    std::string line = formatted("syslog %d: ", priority) + text;
    if (const std::string tag = formatted("syslog %d: UTIL_LOG_", LOG_ERR); line.starts_with(tag)) {
        const std::string level = line.substr(tag.size(), line.find_first_of(" :", tag.size()) - tag.size());
        const size_t from = line.find(':', tag.size()) + 1;
        line = level + " " + line.substr(from, line.rfind(" @") - from);
    }
    effects().push_back(line);
}

int usleep(useconds_t microseconds)
{
    effects().push_back("sleep " + std::to_string(microseconds));
    return 0;
}
}
