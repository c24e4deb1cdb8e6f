/**
 * @file utilLog.h
 * Log lines, assertions and error reports.
 *
 * Log lines go to syslog and are gated by `g_logLevel`. Assertions and error reports go to standard output, to a file
 * on the card and to syslog, as the platform's `g_debug_level` says. The build gives each source file that has
 * log lines two texts of its own: MX_SOURCE_NAME, its base name, and MX_SOURCE_PATH, its path from the project's root,
 * both without extension (`mx_name_sources`). Any other gets its name and path as the compiler knows them.
 */
#ifndef UTIL_LOG_H
#define UTIL_LOG_H

#include <cstdint>

/** Levels of a log line, and values of `g_logLevel`. */
enum {
    UTIL_LOG_LEVEL_OFF = 0,
    UTIL_LOG_LEVEL_FATAL = 1,
    UTIL_LOG_LEVEL_ERROR = 2,   ///< failures
    UTIL_LOG_LEVEL_WARNING = 3, ///< warnings and retries
    UTIL_LOG_LEVEL_DEBUG = 4,   ///< requests and responses, field by field
    UTIL_LOG_LEVEL_INFO = 5,
    UTIL_LOG_LEVEL_TRACE = 6, ///< also each message in hexadecimal, on standard output
    UTIL_LOG_LEVEL_LAST = 7   ///< number of levels; can't be set
};

#ifndef MX_SOURCE_NAME
#define MX_SOURCE_NAME __FILE_NAME__
#endif
#ifndef MX_SOURCE_PATH
#define MX_SOURCE_PATH __FILE__
#endif

extern "C" {

/** The log level: a line is logged when its level is not above this. Initially UTIL_LOG_LEVEL_ERROR. */
extern uint32_t g_logLevel;

/**
 * Writes one log line to syslog at LOG_ERR: the level's tag, the message, the place. A message that is too long is cut.
 * @param level 0 to 6
 * @param line,file the place: line number, and base name of the source file
 * @param format text of the message as for printf
 */
void util_log(int level, int line, const char *file, const char *format, ...) __attribute__((format(printf, 4, 5)));

/** Sets `g_logLevel` to a value from 0 to 6; any other value is ignored. */
void util_log_set_level(uint32_t level);

/** Reports a failed assertion as `g_debug_level` says and ends the process with exit(-1). */
[[noreturn]] void util_assert_failed(const char *pPath, const char *pFunction, int line, const char *pExpression);

/** Reports an error as `g_debug_level` says. */
void util_error(const char *pFunction, int line, const char *pText);

} // extern "C"

/** Logs a line when `level` is on; evaluates nothing else when it is off. */
#define UTIL_LOG(level, format, ...)                                                                                   \
    do {                                                                                                               \
        if (g_logLevel >= static_cast<uint32_t>(level)) {                                                              \
            util_log(level, __LINE__, MX_SOURCE_NAME, format __VA_OPT__(, ) __VA_ARGS__);                              \
        }                                                                                                              \
    } while (false)

/** Ends the process when the expression does not hold: a fault in the program, never bad data. */
#define UTIL_ASSERT(expression)                                                                                        \
    do {                                                                                                               \
        if (!(expression)) {                                                                                           \
            util_assert_failed(MX_SOURCE_PATH, __func__, __LINE__, #expression);                                       \
        }                                                                                                              \
    } while (false)

/** Reports an error and goes on. The text ends in a line feed. */
#define UTIL_ERROR(text) util_error(__func__, __LINE__, text)

#endif
