#include "gumiList.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "documentStart.h"
#include "fieldFormatters.h"
#include "httpStatus.h"
#include "typedResponse.h"
#include "utilLog.h"

namespace
{

struct gumiList {
    mxMediaDBOutput output;
    rtosConnection connection;
    char dirName[DB_DIR_NAME_BYTES + 1];
};

// Moves behind a word that must stand at the position.
bool takeWord(const char **ppText, const char *pWord)
{
    const size_t length = strlen(pWord);
    if (strncmp(*ppText, pWord, length) != 0) {
        return false;
    }
    *ppText += length;
    return true;
}

int takeDirectory(const char **ppText, char (&dirName)[DB_DIR_NAME_BYTES + 1])
{
    if (!takeWord(ppText, "&folder=")) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Required '&folder=' key missing, aborting\n");
        return HTTP_BAD_REQUEST;
    }
    const size_t length = strcspn(*ppText, "&");
    if (length > DB_DIR_NAME_BYTES || (*ppText)[length] == '\0') {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "&folder= value too long (8 char max), aborting\n");
        return HTTP_BAD_REQUEST;
    }
    memcpy(dirName, *ppText, length);
    *ppText += length;
    return HTTP_OK;
}

int takeFiles(const char **ppText)
{
    if (!takeWord(ppText, "&files=")) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Required '&files=' key missing, aborting\n");
        return HTTP_BAD_REQUEST;
    }
    return HTTP_OK;
}

// Takes the next name of the list and the comma behind it; a name that is too long is cut.
void takeName(const char **ppText, char (&fileName)[DB_FILE_NAME_BYTES + 1])
{
    const size_t length = strcspn(*ppText, ",&");
    memset(fileName, 0, sizeof fileName);
    memcpy(fileName, *ppText, std::min<size_t>(length, DB_FILE_NAME_BYTES));
    *ppText += length;
    takeWord(ppText, ",");
}

int writeFile(gumiList *pList, const char *pPrepend, const char *pFileName)
{
    uint8_t response[DB_MESSAGE_MAX_BYTES] = {};
    const db_content_info *pInfo = nullptr;
    const uint8_t *pGUMI = nullptr;
    const uint8_t *pPGUMI = nullptr;
    int status = getFileGUMIResponse(&pList->connection, pList->dirName, pFileName, response, &pInfo, &pGUMI, &pPGUMI);
    if (status == HTTP_OK) {
        status = formatFileGUMIResponse(&pList->output, pPrepend, pInfo, pGUMI, pPGUMI);
    } else if (status == HTTP_NOT_FOUND) {
        status = HTTP_OK;
        appendEntry(&pList->output, &status, "%s{\"n\":\"%.12s\",\"DNE\":\"1\"}", pPrepend, pFileName);
    }
    if (status == HTTP_OK) {
        flushEntry(&pList->output, &status);
    }
    return status;
}

int writeFiles(gumiList *pList, const char *pNames)
{
    const char *pPrepend = "";
    while (*pNames != '\0' && *pNames != '&') {
        char fileName[DB_FILE_NAME_BYTES + 1];
        takeName(&pNames, fileName);
        if (fileName[0] == '\0') {
            continue;
        }
        const int status = writeFile(pList, pPrepend, fileName);
        if (status != HTTP_OK) {
            return status;
        }
        pPrepend = ",";
    }
    return HTTP_OK;
}

// The document's one block. The text begins behind the data set.
int writeBlock(gumiList *pList, const char *pText)
{
    int status = takeDirectory(&pText, pList->dirName);
    if (status == HTTP_OK) {
        status = takeFiles(&pText);
    }
    if (status != HTTP_OK) {
        return status;
    }
    appendDirectory(&pList->output, &status, "{\"d\":\"%.8s\",\"fs\":[", pList->dirName);
    if (status == HTTP_OK) {
        status = writeFiles(pList, pText);
    }
    appendDirectory(&pList->output, &status, "]}");
    flushDirectory(&pList->output, &status);
    return status;
}

int answer(gumiList *pList, const char *pText)
{
    char cardId[CARD_ID_BYTES] = {};
    int status = documentConnect(&pList->connection, cardId);
    if (status == HTTP_OK) {
        status = writeBlock(pList, pText);
    }
    printHttpHead(status);
    printf("{\"id\":\"%s\",\"media\":[%s]}\r\n", cardId, status == HTTP_OK ? pList->output.localBuffer : "");
    rtosConnectionDtor(&pList->connection);
    return status;
}

} // namespace

int formatFileGUMIResponse(mxMediaDBOutput *pMXMOut, const char *pPrepend, const db_content_info *pInfo,
                           const uint8_t *pGUMI, const uint8_t *pPGUMI)
{
    UTIL_ASSERT(pPrepend);
    UTIL_ASSERT(pInfo);
    int status = HTTP_OK;
    appendEntry(pMXMOut, &status, "%s{\"n\":\"%.12s\"", pPrepend, pInfo->file_name);
    const int gumis = formatGUMI(pMXMOut, FIELD_ALL, ",", pGUMI, pPGUMI);
    appendEntry(pMXMOut, &status, "}");
    return status == HTTP_OK ? gumis : status;
}

int generateFileGUMIList(void *outputHandle, const char *pQueryString)
{
    if (!takeWord(&pQueryString, "f=gumi")) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Required 'gumi=' key missing, aborting\n");
        return -1;
    }
    gumiList list = {};
    if (mxMediaDBOutputCtor(&list.output, outputHandle) < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxMediaDBOutputCtor ret < 0");
        printHttpHead(HTTP_INTERNAL_SERVER_ERROR);
        return -1;
    }
    const int status = answer(&list, pQueryString);
    mxMediaDBOutputDtor(&list.output);
    return status == HTTP_OK ? 0 : -1;
}
