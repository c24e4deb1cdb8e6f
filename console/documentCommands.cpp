#include "commands.h"

#include <cstdio>

#include "input.h"
#include "mxMediaRTOSDB.h"
#include "utilLog.h"

namespace
{

using documentGenerator = int (*)(void *outputHandle, const char *pQueryString);

constexpr numberInput logLevelInput = {
    "Enter logging level (default 1 - enter number of times command will loop): ",
    nullptr,
    UTIL_LOG_LEVEL_ERROR,
    "Using log lvl: ",
    false,
};

commandEnd runDocumentPasses(const consoleState *pConsole, int loopCount, documentGenerator generate)
{
    return runPasses(loopCount, [=] {
        const int ret = generate(nullptr, pConsole->query);
        return ret < 0 ? endOnReturn(ret) : commandDone;
    });
}

// Document about one file; the console composes the query.
commandEnd runFileDocument(consoleState *pConsole, const char *pDocument)
{
    db_file_spec file;
    inputDirName(pConsole, file.dir_name);
    inputFileName(pConsole, file.file_name);
    const int loopCount = inputLoopCount(pConsole, NEGATIVE_MAKES_ONE_PASS);
    inputLogLevel(pConsole);
    snprintf(pConsole->query, sizeof pConsole->query, "p=%.08s/%.12s&t=%s", file.dir_name, file.file_name, pDocument);
    return runDocumentPasses(pConsole, loopCount, generateMetadata);
}

// Document to a query that comes as it will be handed on.
commandEnd runQueryDocument(consoleState *pConsole, const char *pPrompt, documentGenerator generate)
{
    if (!inputQuery(pConsole, pPrompt)) {
        return {true, -1};
    }
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    return runDocumentPasses(pConsole, loopCount, generate);
}

} // namespace

commandEnd durationCommand(consoleState *pConsole)
{
    return runFileDocument(pConsole, "dur");
}

commandEnd videoInfoCommand(consoleState *pConsole)
{
    return runFileDocument(pConsole, "videoinfo");
}

commandEnd mediaListCommand(consoleState *pConsole)
{
    return runQueryDocument(
        pConsole, "Enter list filter param ('f=video') or whitelist fields ('fields=\"\"'): ", generateMediaList);
}

commandEnd metadataCommand(consoleState *pConsole)
{
    return runQueryDocument(pConsole, "Enter query string ('p=<pathname>&t=v4info')", generateMetadata);
}

commandEnd logLevelCommand(consoleState *pConsole)
{
    if (!pConsole->interactive && !argumentIsLeft(pConsole)) {
        return commandDone;
    }
    const int level = inputNumber(pConsole, logLevelInput);
    if (!pConsole->interactive) {
        reportNumber(logLevelInput, level);
    }
    util_log_set_level(static_cast<uint32_t>(level));
    return commandDone;
}
