#include "effects.h"

#include <cstdarg>
#include <syslog.h>

Lines &effects()
{
    static Lines lines;
    return lines;
}

Lines effectsOf(const std::string &prefix)
{
    Lines found;
    for (const std::string &line : effects()) {
        if (line.starts_with(prefix)) {
            found.push_back(line);
        }
    }
    return found;
}

std::string joined(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines) {
        text += line + "|";
    }
    return text;
}

// Doubles of the system's calls: the test program's own definitions come first.
extern "C" {

void syslog(int priority, const char *pFormat, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, pFormat);
    vsnprintf(text, sizeof text, pFormat, arguments);
    va_end(arguments);
    std::string line = text;
    const std::string tag = "UTIL_LOG_";
    const size_t colon = line.find(':');
    if (priority != LOG_ERR || !line.starts_with(tag) || colon == std::string::npos) {
        effects().push_back("syslog " + std::to_string(priority) + ": " + line);
        return;
    }
    std::string level = line.substr(tag.size(), colon - tag.size());
    level.erase(level.find_last_not_of(' ') + 1);
    const size_t place = line.rfind(" @");
    effects().push_back(level + " " + line.substr(colon + 1, place - colon - 1));
}

int usleep(useconds_t microseconds)
{
    effects().push_back("sleep " + std::to_string(microseconds));
    return 0;
}
}
