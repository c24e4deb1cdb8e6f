#include "mediaListQuery.h"

#include <cstdio>
#include <cstring>

#include "fieldMask.h"
#include "httpStatus.h"
#include "mxMediaRTOSDB.h"
#include "utilLog.h"

namespace
{

enum { FIELDS_VALUE_BYTES = 1024 };

constexpr queryKey keyF = {"f", "Field", "storage"};
constexpr queryKey keyFields = {"fields", "Field", "storage"};
constexpr queryKey keyFolder = {"folder", "Field", "storage"};
constexpr queryKey keyFiles = {"files", "Field", "storage"};

struct dataSet {
    const char *pWord;
    uint32_t filter;
    uint32_t queryOptions;
};

constexpr uint32_t videosAndPhotos = RTOS_DB_QUERY_VIDEOS | RTOS_DB_QUERY_PHOTOS;
constexpr uint32_t everything = videosAndPhotos | RTOS_DB_QUERY_METADATA_SESSION_FILES | RTOS_DB_QUERY_RAW;

// Sets of clips, highlights or groups ask for all items of their kind: the bits that narrow a request stand in the byte
// that each parse clears at its end.
constexpr dataSet dataSets[] = {
    {"photos", eDBFILTER_T_PHOTOS, RTOS_DB_QUERY_PHOTOS},
    {"video", eDBFILTER_T_VIDEO, RTOS_DB_QUERY_VIDEOS},
    {"clips", eDBFILTER_T_CLIPS, videosAndPhotos},
    {"videoclips", eDBFILTER_T_CLIPS, RTOS_DB_QUERY_VIDEOS},
    {"photoclips", eDBFILTER_T_PHOTO_CLIPS, RTOS_DB_QUERY_PHOTOS},
    {"highlights", eDBFILTER_T_HIGHLIGHTS, videosAndPhotos},
    {"videohighlights", eDBFILTER_T_VIDEO_HIGHLIGHTS, RTOS_DB_QUERY_VIDEOS},
    {"photohighlights", eDBFILTER_T_PHOTO_HIGHLIGHTS, RTOS_DB_QUERY_PHOTOS},
    {"groups", eDBFILTER_T_GROUPS, videosAndPhotos},
    {"videogroups", eDBFILTER_T_GROUPS, RTOS_DB_QUERY_VIDEOS},
    {"photogroups", eDBFILTER_T_PHOTO_GROUPS, RTOS_DB_QUERY_PHOTOS},
    {"raw", eDBFILTER_T_RAW, RTOS_DB_QUERY_RAW},
    {"gumi", eDBFILTER_T_GUMI, 0},
    {"none", eDBFILTER_T_NONE, everything},
    {"upload", eDBFILTER_T_LIST_UPLOAD, 0},
};

struct fieldWord {
    const char *pWord;
    uint32_t mask;
};

constexpr fieldWord fieldWords[] = {
    {"n", FIELD_N},       {"mod", FIELD_MOD},     {"cre", FIELD_CRE},   {"s", FIELD_S},
    {"ls", FIELD_LS},     {"cl", FIELD_CL},       {"hc", FIELD_HC},     {"hi", FIELD_HC | FIELD_HI},
    {"g", FIELD_GROUP},   {"b", FIELD_GROUP},     {"l", FIELD_GROUP},   {"t", FIELD_GROUP},
    {"m", FIELD_GROUP},   {"ghc", FIELD_GROUP},   {"ghi", FIELD_GROUP}, {"legacy", FIELD_LEGACY},
    {"gumi", FIELD_GUMI}, {"pgumi", FIELD_PGUMI}, {"DNE", FIELD_DNE},   {"us", FIELD_US},
    {"eis", FIELD_EIS},   {"wdr", FIELD_WDR},     {"zta", FIELD_ZTA},   {"ao", FIELD_AO},
    {"raw", FIELD_RAW},   {"tr", FIELD_TR},       {"mp", FIELD_MP},     {"dur", FIELD_DUR},
};

template <typename Row, size_t Rows>
const Row *findWord(const Row (&rows)[Rows], const char *pWord)
{
    for (const Row &row : rows) {
        if (strcmp(row.pWord, pWord) == 0) {
            return &row;
        }
    }
    return nullptr;
}

int parseDataSet(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    char value[QUERY_VALUE_BYTES] = {};
    int found = 0;
    const int status = queryReadFilledKey(pQueryString, length, keyF, value, sizeof value, &found);
    if (status != HTTP_OK || found == QUERY_KEY_ABSENT) {
        return status;
    }
    const bool holdsZero = strlen(value) != static_cast<size_t>(found);
    const dataSet *pSet = holdsZero ? nullptr : findWord(dataSets, value);
    if (pSet == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s=%s not implemented\n", keyF.pName, value);
        return HTTP_NOT_IMPLEMENTED;
    }
    pSettings->filter = pSet->filter;
    pSettings->rtosDBQueryOptions |= pSet->queryOptions;
    if (pSet->filter == eDBFILTER_T_LIST_UPLOAD) {
        pSettings->whitelistMask = FIELD_US;
    }
    return queryRefuseRepeated(pQueryString, length, keyF, value, sizeof value);
}

// A value in double quotes stands for what is between them.
char *withoutQuotes(char *pValue, int length)
{
    if (pValue[0] != '"' || pValue[length - 1] != '"') {
        return pValue;
    }
    pValue[length - 1] = '\0';
    return length > 1 ? pValue + 1 : pValue;
}

// The words that have no field, one behind the other. `freeBytes` falls by the whole length of each word, also of one
// that is cut, and is 0 or less when they have no room.
struct unsupportedWords {
    char *pText;
    int freeBytes;
};

void addUnsupported(unsupportedWords *pWords, const char *pWord)
{
    if (pWords->freeBytes <= 0) {
        return;
    }
    char *pEnd = pWords->pText + (QUERY_UNSUPPORTED_BYTES - pWords->freeBytes);
    const char *pSeparator = pEnd == pWords->pText ? "" : ",";
    pWords->freeBytes -= snprintf(pEnd, static_cast<size_t>(pWords->freeBytes), "%s%s", pSeparator, pWord);
}

uint32_t parseWords(char *pValue, unsupportedWords *pUnsupported)
{
    uint32_t mask = FIELD_NONE;
    char *pRest = nullptr;
    for (char *pWord = strtok_r(pValue, ",", &pRest); pWord != nullptr; pWord = strtok_r(nullptr, ",", &pRest)) {
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    field %s\n", pWord);
        const fieldWord *pField = findWord(fieldWords, pWord);
        if (pField != nullptr) {
            mask |= pField->mask;
        } else {
            addUnsupported(pUnsupported, pWord);
        }
    }
    return mask;
}

} // namespace

int parseQueryFields(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    UTIL_ASSERT(0 == pSettings->unsupported[0]);
    char value[FIELDS_VALUE_BYTES] = {};
    int found = 0;
    const int status = queryReadFilledKey(pQueryString, length, keyFields, value, sizeof value, &found);
    if (status != HTTP_OK || found == QUERY_KEY_ABSENT) {
        return status;
    }
    memset(pSettings->unsupported, 0, QUERY_UNSUPPORTED_BYTES);
    unsupportedWords unsupported = {pSettings->unsupported, QUERY_UNSUPPORTED_BYTES};
    const uint32_t mask = parseWords(withoutQuotes(value, found), &unsupported);
    if (unsupported.freeBytes <= 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Insufficient storage for unsupported fields");
        return HTTP_INTERNAL_SERVER_ERROR;
    }
    UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "fieldMask = 0x%08X, unsupported %s\n", mask, pSettings->unsupported);
    pSettings->whitelistMask = mask;
    return queryRefuseRepeated(pQueryString, length, keyFields, value, sizeof value);
}

int parseQueryFolder(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    UTIL_ASSERT(0 == pSettings->dirName[0]);
    char value[QUERY_VALUE_BYTES] = {};
    int found = 0;
    int status = queryReadKey(pQueryString, length, keyFolder, value, sizeof value, &found);
    if (status != HTTP_OK) {
        return status;
    }
    if (found >= QUERY_DIR_NAME_BYTES) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s=%s is an invalid value\n", keyFolder.pName, value);
        return HTTP_BAD_REQUEST;
    }
    memcpy(pSettings->dirName, value, QUERY_DIR_NAME_BYTES);
    status = queryRefuseRepeated(pQueryString, length, keyFolder, value, sizeof value);
    if (status != HTTP_OK) {
        return status;
    }

    status = queryReadKey(pQueryString, length, keyFiles, value, sizeof value, &found);
    if (status != HTTP_OK) {
        return status;
    }
    const bool folderStands = pSettings->dirName[0] != '\0';
    if (found > 0 && !folderStands) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Required field 'folder' missing\n");
        return HTTP_BAD_REQUEST;
    }
    if (found == QUERY_KEY_ABSENT && folderStands) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Required field '%s' missing\n", keyFiles.pName);
        return HTTP_BAD_REQUEST;
    }
    return HTTP_OK;
}

int parseMediaListQuery(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    if (length == 0) {
        pSettings->rtosDBQueryOptions = RTOS_DB_QUERY_ALL_MEDIA;
        pSettings->whitelistMask = FIELD_LEGACY;
        return parseQueryKeys({}, pQueryString, length, pSettings);
    }
    pSettings->whitelistMask = FIELD_ALL;
    return parseQueryKeys({parseDataSet, parseQueryFields, parseQueryFolder, parseQueryStatus}, pQueryString, length,
                          pSettings);
}
