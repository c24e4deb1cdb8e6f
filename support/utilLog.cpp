#include "utilLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <syslog.h>

#include "cardRoot.h"
#include "mxdebug.h"

uint32_t g_logLevel = UTIL_LOG_LEVEL_ERROR;

namespace
{

// Limits of a log line in characters: prefix and message, then the place.
constexpr int messageLimit = 350;
constexpr int lineLimit = 440;

constexpr int stampBytes = 20;

constexpr const char *levelTag[UTIL_LOG_LEVEL_LAST] = {"UTIL_LOG_OFF  ", "UTIL_LOG_FATAL", "UTIL_LOG_ERROR",
                                                       "UTIL_LOG_WARN ", "UTIL_LOG_DEBUG", "UTIL_LOG_INFO ",
                                                       "UTIL_LOG_TRACE"};

bool debugGateAbove(uint32_t gate)
{
    return (g_debug_level & MXDEBUG_GATE) > gate;
}

// The copies of a report that bear a time stamp: standard output and the file on the card.
__attribute__((format(printf, 1, 2))) void reportStamped(const char *pFormat, ...)
{
    char stamp[stampBytes] = " ";
    time_t now = time(nullptr);
    const tm *pLocal = localtime(&now);
    if (pLocal != nullptr) {
        strftime(stamp, sizeof stamp, "%b%d %H:%M:%S ", pLocal);
    }
    va_list arguments;
    if (g_debug_level & MXDEBUG_TO_STDOUT) {
        va_start(arguments, pFormat);
        fputs(stamp, stdout);
        vprintf(pFormat, arguments);
        va_end(arguments);
    }
    if (g_debug_level & MXDEBUG_TO_FILE) {
        char path[CARD_PATH_MAX];
        FILE *pFile = fopen(cardPath(path, "wifi_log.txt"), "a+");
        if (pFile != nullptr) {
            va_start(arguments, pFormat);
            fputs(stamp, pFile);
            vfprintf(pFile, pFormat, arguments);
            va_end(arguments);
            fclose(pFile);
        }
    }
}

void openReportLog()
{
    openlog(nullptr, LOG_CONS | LOG_PERROR, LOG_USER);
}

} // namespace

#define ASSERT_FORMAT "\033[31mASSERT:%s/%s:%d:%s\n\033[0m"
#define ERROR_FORMAT "[%16s:%4d] %s"

void util_log(int level, int line, const char *file, const char *format, ...)
{
    char buffer[lineLimit + 1] = "";
    const int prefix = sprintf(buffer, "%s:", levelTag[level]);

    va_list arguments;
    va_start(arguments, format);
    const int room = messageLimit - prefix;
    const int length = vsnprintf(buffer + prefix, static_cast<size_t>(room), format, arguments);
    va_end(arguments);

    const int place = length >= 0 && length < room ? prefix + length : messageLimit - 1;
    const int placeRoom = lineLimit - place;
    const int placeLength = snprintf(buffer + place, static_cast<size_t>(placeRoom), " @%s:%d", file, line);
    if (placeLength < 0 || placeLength >= placeRoom) {
        buffer[place] = ' ';
        buffer[place + 1] = '\0';
    }
    syslog(LOG_ERR, "%s", buffer);
}

void util_log_set_level(uint32_t level)
{
    if (level < UTIL_LOG_LEVEL_LAST) {
        g_logLevel = level;
    }
}

void util_assert_failed(const char *pPath, const char *pFunction, int line, const char *pExpression)
{
    if (debugGateAbove(MXDEBUG_GATE_ASSERT)) {
        reportStamped(ASSERT_FORMAT, pPath, pFunction, line, pExpression);
        openReportLog();
        syslog(LOG_DEBUG, ASSERT_FORMAT, pPath, pFunction, line, pExpression);
        closelog();
    }
    exit(-1);
}

void util_error(const char *pFunction, int line, const char *pText)
{
    if (debugGateAbove(MXDEBUG_GATE_ERROR)) {
        reportStamped(ERROR_FORMAT, pFunction, line, pText);
        openReportLog();
        syslog(LOG_DEBUG, ERROR_FORMAT, pFunction, line, pText);
        closelog();
    }
}
