/**
 * @file effects.h
 * What a call under test does to the world, in the order in which it does it: exchanges, waits and log lines. The
 * doubles of the transport, of syslog and of usleep write here.
 */
#ifndef EFFECTS_H
#define EFFECTS_H

#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

using Lines = std::vector<std::string>;

/**
 * All effects since the last clear: "init", "send", "receive", "destroy", "sleep 100000", and log lines as
 * "ERROR text", "WARN text", "DEBUG text", without the place; other syslog lines as "syslog 7: text".
 */
inline Lines &effects()
{
    static Lines lines;
    return lines;
}

/** The effects that begin with `prefix`, "ERROR" for instance. */
inline Lines effectsOf(const std::string &prefix)
{
    Lines found = effects();
    std::erase_if(found, [&prefix](const std::string &line) { return !line.starts_with(prefix); });
    return found;
}

/** Lines in one text, each with a "|" behind it. */
inline std::string joined(const Lines &lines = effects())
{
    std::string text;
    for (const std::string &line : lines) {
        text += line + "|";
    }
    return text;
}

/** Text as printf makes it, up to 999 characters. */
template <typename... Values>
std::string formatted(const char *pFormat, Values... values)
{
    char text[1000];
    snprintf(text, sizeof text, pFormat, values...);
    return text;
}

/** A text, several times. */
inline std::string times(int count, const std::string &text)
{
    return count == 0 ? "" : text + times(count - 1, text);
}

/** The descriptor that the next opened file gets: the same before and after a call that leaves none open. */
inline int nextDescriptor()
{
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
}

/** What `run` prints to standard output. */
template <typename Run>
std::string printedBy(Run run)
{
    char *pText = nullptr;
    size_t length = 0;
    FILE *pSaved = stdout;
    stdout = open_memstream(&pText, &length);
    run();
    fclose(stdout);
    stdout = pSaved;
    std::string text(pText, length);
    free(pText);
    return text;
}

#endif
