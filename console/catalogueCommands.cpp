#include "commands.h"

#include <cstdio>

#include "checker.h"
#include "input.h"
#include "mxMediaRTOSDB.h"
#include "printers.h"

namespace
{

constexpr numberInput pagesInput = {
    "Enter number of pages: ", " buffer len 0, using pages: 1 ", 1, "Using number of pages: ", false,
};
constexpr numberInput itemsPerPageInput = {
    "Enter number of items per page: ", " buffer len 0, items per page: 1 ", 1, "Using items per page: ", false,
};
constexpr numberInput startIndexInput = {
    "Enter start index: ", " buffer len 0, start index: 0 ", 0, "Using start index: ", false,
};
constexpr numberInput listOptionsInput = {
    "Enter list options (decimal - enter \"10\" for list options bitmask=0xA): ",
    " buffer len 0, using listOptions 0 ",
    0,
    "Using listOptions: ",
    true,
};
constexpr numberInput queryOptionsInput = {
    "Enter query options (decimal - enter \"10\" for query options bitmask=0xA): ",
    " buffer len 0, using queryOptions 0 ",
    0,
    "Using queryOptions: ",
    true,
};
constexpr numberInput itemsInput = {
    "Enter number of items: ", " buffer len 0, using items: 1 ", 1, "Using number of items: ", false,
};
constexpr numberInput pageSizeInput = {
    "Enter page size: ", " buffer len 0, using items: 1 ", 1, "Using number of items: ", false,
};

// Lists media items and session files as one list: what the start index leaves of the one, then of the other.
commandEnd passCahList(uint32_t numItems, uint32_t startIndex)
{
    uint32_t sessionId = 0;
    uint32_t total = 0;
    uint32_t mediaCount = 0;
    uint32_t sessionStartIndex = 0;
    uint32_t sessionFileCount = 0;

    printf("\ncalling dbGetCAHList()");
    int ret = dbGetCAHList(numItems, 0, DB_CALLERS_TOKEN, nullptr, nullptr, nullptr, nullptr, &sessionId, &total);
    printf("\ndbGetCAHList ret:%d, totalMediaCount from start index 0:%d, calling dbGetCAHSessionFileList()", ret,
           static_cast<int>(total));
    if (startIndex < total) {
        ret = dbGetCAHList(numItems, startIndex, DB_CALLERS_TOKEN, printCahItem, nullptr, printCahFile, nullptr,
                           &sessionId, &mediaCount);
        printf("\ndbGetCAHList ret:%d, mediaCount from start index:%d, calling dbGetCAHSessionFileList, "
               "adjust start ndex to 0",
               ret, static_cast<int>(mediaCount));
    } else {
        sessionStartIndex = startIndex - total;
        printf("\ncalling dbGetCAHSessionFileList, adjust start index from %d to %d", static_cast<int>(startIndex),
               static_cast<int>(sessionStartIndex));
    }
    ret = dbGetCAHSessionFileList(numItems, sessionStartIndex, DB_CALLERS_TOKEN, printCahItem, nullptr, printCahFile,
                                  nullptr, &sessionId, &sessionFileCount);
    printf("\ndbGetCAHSessionFileList ret:%d, startIndex:%d, sessionFileCount:%d", ret,
           static_cast<int>(sessionStartIndex), static_cast<int>(sessionFileCount));
    printf("\nsessionId=0x%08X\n", sessionId);
    printf("total items=%u\n", mediaCount + sessionFileCount);
    return endOnReturn(ret);
}

} // namespace

commandEnd pagedListCommand(consoleState *pConsole)
{
    const int numPages = inputNumber(pConsole, pagesInput);
    const int itemsPerPage = inputNumber(pConsole, itemsPerPageInput);
    const int startIndex = inputNumber(pConsole, startIndexInput);
    const int listOptions = inputNumber(pConsole, listOptionsInput);
    const int queryOptions = inputNumber(pConsole, queryOptionsInput);
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    return runPasses(loopCount, [=] {
        const int ret = dbGetPagedList(nullptr, numPages, itemsPerPage, startIndex, listOptions, queryOptions);
        return ret < 0 ? endOnReturn(ret) : commandDone;
    });
}

commandEnd cahListCommand(consoleState *pConsole)
{
    const auto numItems = static_cast<uint32_t>(inputNumber(pConsole, itemsInput));
    const auto startIndex = static_cast<uint32_t>(inputNumber(pConsole, startIndexInput));
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    return runPasses(loopCount, [=] { return passCahList(numItems, startIndex); });
}

commandEnd consistencyCommand(consoleState *pConsole)
{
    const int pageSize = inputNumber(pConsole, pageSizeInput);
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    return runPasses(loopCount, [=] {
        const int ret = checkConsistency(pageSize);
        if (ret != 0) {
            return endOnReturn(ret);
        }
        printf("\n");
        return commandDone;
    });
}
