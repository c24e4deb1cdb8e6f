#include "listWalk.h"

#include <cstring>
#include <unistd.h>

#include "elapsed.h"
#include "httpStatus.h"
#include "listHeader.h"
#include "request.h"
#include "responseCounts.h"
#include "retryLimits.h"
#include "utilLog.h"

namespace
{

void logListFailure(int level, const char *pOutcome, const listFailure &failure)
{
    switch (failure.kind) {
    case LIST_FAILURE_SEND:
        UTIL_LOG(level, "error on IPC received, %s, ret %d\n", pOutcome, failure.result);
        break;
    case LIST_FAILURE_RESPONSE:
        UTIL_LOG(level, "error on IPC received, %s, bytesRead %d\n", pOutcome, failure.bytesRead);
        break;
    default:
        UTIL_LOG(level, "error on IPC received, %s, status %d\n", pOutcome, failure.status);
        break;
    }
}

void logChapterFailure(int level, const char *pPrefix, const char *pOutcome, const listFailure &failure)
{
    if (failure.kind == LIST_FAILURE_SEND) {
        UTIL_LOG(level, "%serror on IPC received, %s, ret %d\n", pPrefix, pOutcome, failure.result);
    } else {
        UTIL_LOG(level, "error on IPC received, %s, status %d, bytesRead %d\n", pOutcome, failure.status,
                 failure.bytesRead);
    }
}

void beginAnew(listWalk *pWalk)
{
    pWalk->runningIndex = pWalk->startIndex;
    pWalk->blockOpen = false;
    pWalk->pageCame = false;
    pWalk->pDocument->restart(pWalk);
}

// Waits and makes the document begin anew, or ends it when the retries are used up.
void retryOrEnd(listWalk *pWalk, const listFailure &failure, bool aboutChapters)
{
    const bool retries = pWalk->retryCount < LIST_RESTARTS_MAX;
    if (retries) {
        usleep(RETRY_WAIT_MICROSECONDS);
    }
    const int level = retries ? UTIL_LOG_LEVEL_WARNING : UTIL_LOG_LEVEL_ERROR;
    const char *pOutcome = retries ? "retrying" : "exiting";
    if (aboutChapters) {
        logChapterFailure(level, retries ? "" : pWalk->pDocument->pChapterExitPrefix, pOutcome, failure);
    } else {
        logListFailure(level, pOutcome, failure);
    }
    if (retries) {
        ++pWalk->retryCount;
        beginAnew(pWalk);
    } else {
        pWalk->status = HTTP_INTERNAL_SERVER_ERROR;
    }
}

void composePageRequest(db_list_request *pRequest, const listWalk *pWalk)
{
    composeHeader(&pRequest->header, DB_COMMAND_LIST);
    pRequest->header.request_count = pWalk->itemsPerPage;
    pRequest->starting_index = pWalk->runningIndex;
    pRequest->list_options = pWalk->listOptions;
    pRequest->query_options = pWalk->queryOptions;
}

// Returns false when the page is dropped: the exchange about the item's chapters failed.
bool walkItem(listWalk *pWalk, const listEntry *pEntry)
{
    logListEntry(pEntry);
    if (!pWalk->blockOpen || memcmp(pWalk->currentDirectory, pEntry->pInfo->dir_name, DB_DIR_NAME_BYTES) != 0) {
        pWalk->pDocument->openBlock(pWalk, pEntry->pInfo->dir_name);
        memcpy(pWalk->currentDirectory, pEntry->pInfo->dir_name, DB_DIR_NAME_BYTES);
        pWalk->blockOpen = true;
    }
    if (pEntry->kind == ITEM_CHAPTER_GROUP) {
        const listFailure failure = askForChapters(&pWalk->connection.handle, pEntry,
                                                   pWalk->pDocument->chapterNamesAreLogged, &pWalk->chapters);
        if (failure.kind != LIST_FAILURE_NONE) {
            retryOrEnd(pWalk, failure, true);
            return false;
        }
    }
    if (listEntryIsShown(pEntry, pWalk->queryOptions)) {
        pWalk->pDocument->writeEntry(pWalk, pEntry, &pWalk->chapters);
    }
    ++pWalk->runningIndex;
    return true;
}

// Exchanges one page. On success the header is that of the response.
listFailure receivePage(listWalk *pWalk, const db_list_request *pRequest, db_list_response_header *pHeader,
                        int *pBytesRead)
{
    if (pWalk->pDocument->pCallName != nullptr) {
        logListRequestOptions(pWalk->pDocument->pCallName, pRequest);
    }
    logListRequest(pRequest);
    const listFailure failure =
        exchangeOnce(&pWalk->connection.handle, pRequest, sizeof *pRequest, pWalk->response, pBytesRead);
    if (failure.kind != LIST_FAILURE_NONE) {
        return failure;
    }
    *pHeader = listHeaderOf(pWalk->response, *pBytesRead);
    lowerCountReturned(UTIL_LOG_LEVEL_WARNING, &pRequest->header, &pHeader->header);
    logListResponseHeader(pHeader);
    if (pHeader->header.status != DB_STATUS_OK) {
        return {LIST_FAILURE_STATUS, 0, *pBytesRead, pHeader->header.status};
    }
    if (*pBytesRead < DB_LIST_ENTRIES_OFFSET) {
        return {LIST_FAILURE_RESPONSE, 0, *pBytesRead, DB_STATUS_OK};
    }
    warnOnToken(pHeader->header.token, pRequest->header.token);
    return {};
}

void walkPage(listWalk *pWalk)
{
    db_list_request request;
    composePageRequest(&request, pWalk);
    db_list_response_header header;
    int bytesRead = 0;
    listFailure failure = receivePage(pWalk, &request, &header, &bytesRead);
    if (failure.kind != LIST_FAILURE_NONE) {
        retryOrEnd(pWalk, failure, false);
        return;
    }
    pWalk->pageCame = true;
    pWalk->totalEntries = header.total_entries;
    const uint32_t items = cutToTotal(request.starting_index, &header);
    failure = {LIST_FAILURE_RESPONSE, 0, bytesRead, DB_STATUS_OK};
    if (items == 0 && pWalk->runningIndex < pWalk->totalEntries && pWalk->itemsPerPage != 0) {
        retryOrEnd(pWalk, failure, false);
        return;
    }
    wireCursor cursor = wireCursorAt(pWalk->response, bytesRead, DB_LIST_ENTRIES_OFFSET);
    for (uint32_t i = 0; i < items; ++i) {
        listEntry entry;
        if (!readListEntry(&cursor, header.list_options, &entry)) {
            retryOrEnd(pWalk, failure, false);
            return;
        }
        if (!walkItem(pWalk, &entry) || (pWalk->status != HTTP_OK && pWalk->pDocument->refusalEndsPage)) {
            return;
        }
    }
}

} // namespace

void listWalkCtor(listWalk *pWalk, const listDocument *pDocument, void *pContext)
{
    *pWalk = {};
    pWalk->pDocument = pDocument;
    pWalk->pContext = pContext;
    pWalk->start = timeNow();
    pWalk->connected = rtosConnectionCtor(&pWalk->connection) == 0;
    pWalk->status = pWalk->connected ? HTTP_OK : HTTP_INTERNAL_SERVER_ERROR;
}

void listWalkDtor(listWalk *pWalk)
{
    if (pWalk->connected) {
        rtosConnectionDtor(&pWalk->connection);
        pWalk->connected = false;
    }
}

void walkList(listWalk *pWalk)
{
    pWalk->runningIndex = pWalk->startIndex;
    int pagesLeft = pWalk->pagesMax;
    bool more = true;
    while (more && pWalk->status == HTTP_OK && pagesLeft != 0) {
        walkPage(pWalk);
        more = !pWalk->pageCame || pWalk->runningIndex < pWalk->totalEntries;
        pagesLeft -= pagesLeft > 0 ? 1 : 0;
    }
}
