#include "chapterGroup.h"

#include <cstdio>
#include <cstdlib>

#include "groupNumbers.h"
#include "request.h"
#include "responseCounts.h"
#include "utilLog.h"

namespace
{

// A request that names many files.
struct chapterRequest {
    db_request_header header;
    db_file_spec files[DB_FILE_REQUEST_MAX_FILES];
} DB_WIRE_RECORD;
static_assert(sizeof(chapterRequest) <= DB_MESSAGE_MAX_BYTES);

// Files are named in two ways: with the number of the file in front of that of the group, or behind it.
bool numberStandsInFront(const char *pFileName)
{
    return memcmp(pFileName, "MX", 2) == 0 || memcmp(pFileName, "MOXE", 4) == 0;
}

uint32_t groupNumberFromName(const char *pFileName)
{
    char digits[5] = {};
    if (numberStandsInFront(pFileName)) {
        memcpy(digits, pFileName + 4, 4);
    } else {
        memcpy(digits, pFileName + 1, 3);
    }
    return static_cast<uint32_t>(strtol(digits, nullptr, 10));
}

uint32_t groupNumberOf(const listEntry *pEntry)
{
    uint32_t number = pEntry->pGroup->group_number;
    if (number == 0) {
        number = groupNumberFromName(pEntry->pInfo->file_name);
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "using group number %d\n", number);
    }
    return number;
}

// Returns false for a name that does not fit its field.
bool buildName(char *pFileName, bool numberInFront, uint32_t groupNumber, uint32_t number)
{
    char name[32];
    const int group = static_cast<int>(groupNumber);
    const int member = static_cast<int>(number);
    const int length = numberInFront ? snprintf(name, sizeof name, "MX%.02d%04d.MP4", member, group)
                                     : snprintf(name, sizeof name, "G%.03d%04d.MP4", group, member);
    if (length != DB_FILE_NAME_BYTES) {
        return false;
    }
    memcpy(pFileName, name, DB_FILE_NAME_BYTES);
    return true;
}

bool anyChapterExists(const db_group_content_info *pGroup)
{
    return int64_t{pGroup->last_number} - pGroup->first_number - pGroup->num_missing + 1 > 0;
}

// The numbers rise: behind one that is too wide for a name no file can be told, and the building ends there.
uint32_t nameFiles(db_file_spec *pFiles, const listEntry *pEntry, uint32_t groupNumber, bool namesAreLogged)
{
    const db_content_info *pInfo = pEntry->pInfo;
    const bool numberInFront = numberStandsInFront(pInfo->file_name);
    if (namesAreLogged && pEntry->pMissing != nullptr) {
        logMissingMask(pEntry->pMissing, maskUsedBytes(pEntry->pGroup));
    }
    memcpy(pFiles[0].dir_name, pInfo->dir_name, DB_DIR_NAME_BYTES);
    memcpy(pFiles[0].file_name, pInfo->file_name, DB_FILE_NAME_BYTES);
    uint32_t count = 1;
    groupNumbers numbers = existingMembersBehindFirst(pEntry->pGroup, pEntry->pMissing);
    for (uint32_t number = 0; nextGroupNumber(&numbers, &number); ++count) {
        if (count == DB_FILE_REQUEST_MAX_FILES ||
            !buildName(pFiles[count].file_name, numberInFront, groupNumber, number)) {
            UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "chapters from %u to %u of group %u are left out, file %.08s/%.12s\n",
                     number, pEntry->pGroup->last_number, groupNumber, pInfo->dir_name, pInfo->file_name);
            break;
        }
        memcpy(pFiles[count].dir_name, pInfo->dir_name, DB_DIR_NAME_BYTES);
        if (namesAreLogged) {
            UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "%.12s\n", pFiles[count].file_name);
        }
    }
    return count;
}

bool recordsAreWhole(wireCursor records, uint32_t count)
{
    videoFile record;
    for (uint32_t i = 0; i < count; ++i) {
        if (!takeVideoFile(&records, &record)) {
            return false;
        }
    }
    return count > 0;
}

} // namespace

listFailure askForChapters(mxIpcHandle *pHandle, const listEntry *pEntry, bool namesAreLogged, chapterAnswer *pAnswer)
{
    const uint32_t groupNumber = groupNumberOf(pEntry);
    pAnswer->count = 0;
    if (!anyChapterExists(pEntry->pGroup)) {
        return {};
    }
    chapterRequest request;
    composeHeader(&request.header, DB_COMMAND_VIDEO_SPECIFIC_INFO);
    request.header.request_count = nameFiles(request.files, pEntry, groupNumber, namesAreLogged);
    const size_t requestBytes = sizeof request.header + request.header.request_count * sizeof(db_file_spec);
    logRequest(&request.header);

    int bytesRead = 0;
    const listFailure failure =
        exchangeOnce(pHandle, &request, static_cast<int>(requestBytes), pAnswer->response, &bytesRead);
    if (failure.kind != LIST_FAILURE_NONE) {
        return failure;
    }
    db_response_header header;
    memcpy(&header, pAnswer->response, sizeof header);
    lowerCountReturned(UTIL_LOG_LEVEL_WARNING, &request.header, &header);
    logResponseHeaderAndToken(&header);
    if (header.status != DB_STATUS_OK) {
        return {LIST_FAILURE_STATUS, 0, bytesRead, header.status};
    }
    warnOnToken(header.token, request.header.token);
    pAnswer->records = wireCursorAt(pAnswer->response, bytesRead, DB_RESPONSE_BODY_OFFSET);
    if (!recordsAreWhole(pAnswer->records, header.count_returned)) {
        return {LIST_FAILURE_RESPONSE, 0, bytesRead, header.status};
    }
    pAnswer->count = header.count_returned;
    return {};
}

bool takeVideoFile(wireCursor *pCursor, videoFile *pRecord)
{
    pRecord->pInfo = takeRecord<db_content_info>(pCursor);
    if (pRecord->pInfo == nullptr) {
        return false;
    }
    pRecord->pVideo = takeVideoRecord(pCursor, &pRecord->pHighlights);
    return pRecord->pVideo != nullptr;
}
