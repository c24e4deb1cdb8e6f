#include <cstdio>
#include <cstring>

#include "documentStart.h"
#include "elapsed.h"
#include "gumiList.h"
#include "httpStatus.h"
#include "listEntryText.h"
#include "listWalk.h"
#include "mediaListQuery.h"
#include "utilLog.h"

namespace
{

enum { ITEMS_PER_PAGE = 10 };

struct mediaList {
    mxMediaDBOutput output;
    mediaQuerySettings settings;
    bool blockHasEntry; // the open block holds at least one entry, so that the next goes behind a ","
    bool blockFlushed;  // a block has gone to the document, so that the next goes behind a ","
};

mediaList *listOf(listWalk *pWalk)
{
    return static_cast<mediaList *>(pWalk->pContext);
}

void restart(listWalk *pWalk)
{
    // The text is ended at its start, so that it does not count when the new document is measured.
    mediaList *pList = listOf(pWalk);
    pList->output.localBufferPos = pList->output.localBuffer;
    pList->output.localDirectoryPos = pList->output.localDirectoryBuffer;
    *pList->output.localBufferPos = '\0';
    *pList->output.localDirectoryPos = '\0';
    pList->blockHasEntry = false;
    pList->blockFlushed = false;
}

// A block without entries is dropped, its opening and the comma in front of it included.
void closeBlock(listWalk *pWalk)
{
    mediaList *pList = listOf(pWalk);
    if (pList->blockHasEntry) {
        appendDirectory(&pList->output, &pWalk->status, "]}");
        flushDirectory(&pList->output, &pWalk->status);
        pList->blockFlushed = true;
    } else {
        pList->output.localDirectoryPos = pList->output.localDirectoryBuffer;
    }
}

void openBlock(listWalk *pWalk, const char *pDirName)
{
    mediaList *pList = listOf(pWalk);
    closeBlock(pWalk);
    if (pList->blockFlushed) {
        appendDirectory(&pList->output, &pWalk->status, ",");
    }
    appendDirectory(&pList->output, &pWalk->status, "{\"d\":\"%.8s\",\"fs\":[", pDirName);
    pList->blockHasEntry = false;
}

void writeEntry(listWalk *pWalk, const listEntry *pEntry, const chapterAnswer *pChapters)
{
    mediaList *pList = listOf(pWalk);
    listEntryText text = {&pList->output,           OUTPUT_BUFFER_ENTRY, pList->settings.whitelistMask,
                          MEMBER_HIGHLIGHTS_AS_MAP, &pWalk->status,      false};
    writeListEntry(&text, pEntry, pChapters);
    if (!text.objectStands) {
        discardEntry(&pList->output);
        return;
    }
    if (pList->blockHasEntry) {
        appendDirectory(&pList->output, &pWalk->status, ",");
    }
    flushEntry(&pList->output, &pWalk->status);
    pList->blockHasEntry = true;
}

constexpr listDocument mediaListDocument = {restart, openBlock, writeEntry, true, nullptr, false, "MEDIADB "};

void printDocument(const listWalk *pWalk, const mediaList *pList)
{
    printHttpHead(pWalk->status);
    printf("{\"id\":\"%s\"", pWalk->cardId);
    if (pList->settings.unsupported[0] != '\0') {
        printf(",\"unsupported_fields\":\"%s\"", pList->settings.unsupported);
    }
    printf(",\"media\":[%s]}\r\n", pWalk->status == HTTP_OK ? pList->output.localBuffer : "");
}

int answer(mediaList *pList)
{
    listWalk walk;
    listWalkCtor(&walk, &mediaListDocument, pList);
    walk.status = documentCardID(walk.cardId, walk.status);
    walk.itemsPerPage = ITEMS_PER_PAGE;
    walk.queryOptions = pList->settings.rtosDBQueryOptions;
    walk.pagesMax = LIST_WALK_ALL_PAGES;
    walkList(&walk);
    closeBlock(&walk);
    listWalkDtor(&walk);
    printDocument(&walk, pList);
    const elapsedTime elapsed = elapsedSince(walk.start);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "generateMediaList time %lu sec, %lu usec\n", elapsed.seconds, elapsed.microseconds);
    return walk.status;
}

} // namespace

int generateMediaList(void *outputHandle, const char *pQueryString)
{
    UTIL_ASSERT(pQueryString);
    mediaList list = {};
    int status = parseMediaListQuery(pQueryString, static_cast<int>(strlen(pQueryString)), &list.settings);
    if (status != HTTP_OK) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "parseMediaListQuery ret: %d, query:'%s'", status, pQueryString);
        printHttpHead(status);
        return -1;
    }
    if (list.settings.filter == eDBFILTER_T_GUMI) {
        return generateFileGUMIList(outputHandle, pQueryString);
    }
    if (mxMediaDBOutputCtor(&list.output, nullptr) < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxMediaDBOutputCtor ret < 0");
        printHttpHead(HTTP_INTERNAL_SERVER_ERROR);
        return -1;
    }
    status = answer(&list);
    mxMediaDBOutputDtor(&list.output);
    return status == HTTP_OK ? 0 : -1;
}
