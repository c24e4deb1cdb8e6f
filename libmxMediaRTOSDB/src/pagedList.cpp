#include <cstdio>

#include "documentStart.h"
#include "elapsed.h"
#include "httpStatus.h"
#include "listEntryText.h"
#include "listWalk.h"
#include "utilLog.h"

namespace
{

struct pagedList {
    mxMediaDBOutput output;
    bool blockHasEntry; // the open block holds at least one entry, so that the next goes behind a ","
};

pagedList *listOf(listWalk *pWalk)
{
    return static_cast<pagedList *>(pWalk->pContext);
}

// The text stays: it is the answer when the passes run out before another page comes.
void restart(listWalk *pWalk)
{
    mxMediaDBOutput &output = listOf(pWalk)->output;
    output.localBufferPos = output.localBuffer;
}

void openBlock(listWalk *pWalk, const char *pDirName)
{
    pagedList *pList = listOf(pWalk);
    if (pWalk->blockOpen) {
        appendLocal(&pList->output, &pWalk->status, "]},");
    }
    appendLocal(&pList->output, &pWalk->status, "{\"d\":\"%.8s\",\"fs\":[", pDirName);
    pList->blockHasEntry = false;
}

void writeEntry(listWalk *pWalk, const listEntry *pEntry, const chapterAnswer *pChapters)
{
    pagedList *pList = listOf(pWalk);
    listEntryText text = {&pList->output, OUTPUT_BUFFER_LOCAL, FIELD_ALL & ~FIELD_CL, MEMBER_HIGHLIGHTS_AS_ARRAY,
                          &pWalk->status, pList->blockHasEntry};
    writeListEntry(&text, pEntry, pChapters);
    pList->blockHasEntry = text.objectStands;
}

constexpr listDocument pagedListDocument = {restart, openBlock, writeEntry, false, "dbGetPagedList", true, ""};

// The blocks, without the end of the last one.
const char *bodyOf(const listWalk *pWalk, const pagedList *pList)
{
    const bool textStands = pList->output.localBufferPos != pList->output.localBuffer || !pWalk->pageCame;
    return pWalk->status == HTTP_OK && textStands ? pList->output.localBuffer : "";
}

void printDocument(const listWalk *pWalk, const pagedList *pList)
{
    const char *pBody = bodyOf(pWalk, pList);
    const bool blockStands = pWalk->status == HTTP_OK ? *pBody != '\0' : pWalk->blockOpen;
    printHttpHead(pWalk->status);
    printf("{\"id\":\"%s\",\"media\":[%s%s\r\n", pWalk->cardId, pBody, blockStands ? "]}]}" : "]}");
}

int answer(listWalk *pWalk, const pagedList *pList)
{
    walkList(pWalk);
    listWalkDtor(pWalk);
    printDocument(pWalk, pList);
    const elapsedTime elapsed = elapsedSince(pWalk->start);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "dbGetPagedList time %lu sec, %lu usec\n", elapsed.seconds, elapsed.microseconds);
    return pWalk->status;
}

} // namespace

int dbGetPagedList(void *, int numPages, int itemPerPage, int startIndex, int listOptions, int queryOptions)
{
    pagedList list = {};
    if (mxMediaDBOutputCtorLocal(&list.output) < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "malloc failed medialist\n");
        printHttpHead(HTTP_INTERNAL_SERVER_ERROR);
        return -1;
    }
    listWalk walk;
    listWalkCtor(&walk, &pagedListDocument, &list);
    readCardID(walk.cardId);
    walk.itemsPerPage = static_cast<uint32_t>(itemPerPage);
    walk.startIndex = static_cast<uint32_t>(startIndex);
    walk.listOptions = static_cast<uint32_t>(listOptions);
    walk.queryOptions = static_cast<uint32_t>(queryOptions);
    walk.pagesMax = numPages > 0 ? numPages : 0;
    const int status = answer(&walk, &list);
    mxMediaDBOutputDtor(&list.output);
    return status == HTTP_OK ? 0 : -1;
}
