#include "queryString.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "httpStatus.h"
#include "utilLog.h"

namespace
{

constexpr queryKey statusKey = {"status", "Required field", "storage"};
constexpr queryKey pathKey = {"p", "Required field", "storage"};

// Lengths of an 8.3 file name and of the part in front of its extension.
constexpr size_t mediaNameLength = 12;
constexpr size_t mediaStemLength = 8;

int lowered(char character)
{
    return tolower(static_cast<unsigned char>(character));
}

int hexValue(char digit)
{
    if (isxdigit(static_cast<unsigned char>(digit)) == 0) {
        return -1;
    }
    return isdigit(static_cast<unsigned char>(digit)) != 0 ? digit - '0' : lowered(digit) - 'a' + 10;
}

bool equalsKey(const char *pText, const char *pKey, int keyLength)
{
    for (int i = 0; i < keyLength; ++i) {
        if (lowered(pText[i]) != lowered(pKey[i])) {
            return false;
        }
    }
    return true;
}

int refuseEmpty(const queryKey &key)
{
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s '%s' has no value\n", key.pField, key.pName);
    return HTTP_BAD_REQUEST;
}

int refuseAbsent(const queryKey &key)
{
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s '%s' not found\n", key.pField, key.pName);
    return HTTP_BAD_REQUEST;
}

bool isUploadFilter(uint32_t filter)
{
    return filter == eDBFILTER_T_LIST_UPLOAD || filter == eDBFILTER_T_GET_UPLOAD;
}

// The number is stored as far as it was read, also when the value is none.
bool convertStatus(const char *pValue, int length, uint32_t *pNumber)
{
    char *pEnd = nullptr;
    errno = 0;
    *pNumber = static_cast<uint32_t>(strtoul(pValue, &pEnd, 10));
    return pEnd == pValue + length && errno == 0;
}

bool isMediaName(const char *pFileName)
{
    const char *pExtension = pFileName + mediaStemLength;
    return strlen(pFileName) == mediaNameLength && (strcmp(pExtension, ".JPG") == 0 || strcmp(pExtension, ".MP4") == 0);
}

// Cuts the decoded path into directory and file.
int splitPath(char *pPath, mediaQuerySettings *pSettings)
{
    const char *pDir = strtok(pPath, "/");
    if (pDir == nullptr || strlen(pDir) >= sizeof pSettings->dirName) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "invalid directory name: dir:'%s'\n", pDir == nullptr ? "" : pDir);
        return HTTP_BAD_REQUEST;
    }
    const char *pFile = strtok(nullptr, "/");
    if (pFile == nullptr || strlen(pFile) >= sizeof pSettings->fileName) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "invalid filename: file:'%s'\n", pFile == nullptr ? "" : pFile);
        return HTTP_BAD_REQUEST;
    }
    memcpy(pSettings->dirName, pDir, strlen(pDir) + 1);
    memcpy(pSettings->fileName, pFile, strlen(pFile) + 1);
    if (!isMediaName(pSettings->fileName)) {
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "Not a JPG or MP4 file name '%s', inferring FILE NOT_FOUND\n",
                 pSettings->fileName);
        return HTTP_NOT_FOUND;
    }
    return HTTP_OK;
}

void finishSettings(mediaQuerySettings *pSettings)
{
    pSettings->rtosDBQueryOptions &= ~0xFFu;
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->filter = 0x%08x", pSettings->filter);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->rtosDBQueryOptions = 0x%08x", pSettings->rtosDBQueryOptions);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->newUploadStatus = 0x%08x", pSettings->newUploadStatus);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->dirName = '%s'", pSettings->dirName);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->fileName = '%s'", pSettings->fileName);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->whitelistMask = 0x%08x", pSettings->whitelistMask);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "pSettings->unsupported = '%s'", pSettings->unsupported);
}

} // namespace

int queryDecode(const char *pSource, int sourceLength, char *pDestination, int destinationSize, bool plusIsBlank)
{
    int i = 0;
    int j = 0;
    while (i < sourceLength && j < destinationSize - 1) {
        const int high = pSource[i] == '%' && i < sourceLength - 2 ? hexValue(pSource[i + 1]) : -1;
        const int low = high >= 0 ? hexValue(pSource[i + 2]) : -1;
        if (low >= 0) {
            pDestination[j++] = static_cast<char>(high << 4 | low);
            i += 3;
        } else {
            pDestination[j++] = plusIsBlank && pSource[i] == '+' ? ' ' : pSource[i];
            ++i;
        }
    }
    if (destinationSize > 0) {
        pDestination[j] = '\0';
    }
    return i < sourceLength ? -1 : j;
}

int queryGetValue(const char *pQueryString, int length, const char *pKey, char *pDestination, int destinationSize,
                  int occurrence)
{
    if (pDestination == nullptr || destinationSize <= 0) {
        return QUERY_VALUE_TOO_LONG;
    }
    pDestination[0] = '\0';
    if (pQueryString == nullptr || length <= 0 || pKey == nullptr) {
        return QUERY_KEY_ABSENT;
    }
    const int keyLength = static_cast<int>(strlen(pKey));
    for (int p = 0; keyLength < length - p; ++p) {
        if ((p > 0 && pQueryString[p - 1] != '&') || pQueryString[p + keyLength] != '=' ||
            !equalsKey(pQueryString + p, pKey, keyLength) || occurrence-- != 0) {
            continue;
        }
        const char *pValue = pQueryString + p + keyLength + 1;
        const auto remaining = static_cast<size_t>(length - p - keyLength - 1);
        const void *pEnd = memchr(pValue, '&', remaining);
        const auto valueLength =
            pEnd == nullptr ? static_cast<int>(remaining) : static_cast<int>(static_cast<const char *>(pEnd) - pValue);
        const int decoded = queryDecode(pValue, valueLength, pDestination, destinationSize, true);
        return decoded < 0 ? QUERY_VALUE_TOO_LONG : decoded;
    }
    return QUERY_KEY_ABSENT;
}

int queryGetFirstValue(const char *pQueryString, int length, const char *pKey, char *pDestination, int destinationSize)
{
    return queryGetValue(pQueryString, length, pKey, pDestination, destinationSize, 0);
}

int queryReadKey(const char *pQueryString, int length, const queryKey &key, char *pValue, int size, int *pFound)
{
    *pFound = queryGetValue(pQueryString, length, key.pName, pValue, size, 0);
    if (*pFound >= 0 || *pFound == QUERY_KEY_ABSENT) {
        return HTTP_OK;
    }
    if (*pFound == QUERY_VALUE_TOO_LONG) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Insufficient %s for %s=%s\n", key.pStorage, key.pName, pValue);
        return HTTP_BAD_REQUEST;
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Internal failure (%d) while processing %s\n", *pFound, key.pName);
    return HTTP_INTERNAL_SERVER_ERROR;
}

int queryReadFilledKey(const char *pQueryString, int length, const queryKey &key, char *pValue, int size, int *pFound)
{
    const int status = queryReadKey(pQueryString, length, key, pValue, size, pFound);
    return status == HTTP_OK && *pFound == 0 ? refuseEmpty(key) : status;
}

int queryReadRequiredKey(const char *pQueryString, int length, const queryKey &key, char *pValue, int size, int *pFound)
{
    const int status = queryReadFilledKey(pQueryString, length, key, pValue, size, pFound);
    return status == HTTP_OK && *pFound == QUERY_KEY_ABSENT ? refuseAbsent(key) : status;
}

int queryRefuseRepeated(const char *pQueryString, int length, const queryKey &key, char *pValue, int size)
{
    if (queryGetValue(pQueryString, length, key.pName, pValue, size, 1) == QUERY_KEY_ABSENT) {
        return HTTP_OK;
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s '%s' found multiple times\n", key.pField, key.pName);
    return HTTP_BAD_REQUEST;
}

int parseQueryStatus(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    UTIL_ASSERT(pQueryString);
    UTIL_ASSERT(pSettings);
    char value[QUERY_VALUE_BYTES] = "";
    int found = 0;
    const int status = queryReadKey(pQueryString, length, statusKey, value, sizeof value, &found);
    if (status != HTTP_OK || found == QUERY_KEY_ABSENT) {
        return status;
    }
    const bool wanted = isUploadFilter(pSettings->filter);
    if (found == 0) {
        return wanted ? refuseEmpty(statusKey) : HTTP_OK;
    }
    if (wanted) {
        if (!convertStatus(value, found, &pSettings->newUploadStatus)) {
            UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s=%s is an invalid value\n", statusKey.pName, value);
            return HTTP_BAD_REQUEST;
        }
        pSettings->filter =
            pSettings->filter == eDBFILTER_T_LIST_UPLOAD ? eDBFILTER_T_LIST_SET_UPLOAD : eDBFILTER_T_SET_UPLOAD;
    }
    return queryRefuseRepeated(pQueryString, length, statusKey, value, sizeof value);
}

int parseQueryP(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    UTIL_ASSERT(0 == pSettings->dirName[0]);
    UTIL_ASSERT(0 == pSettings->fileName[0]);
    char value[QUERY_VALUE_BYTES] = "";
    int found = 0;
    int status = queryReadRequiredKey(pQueryString, length, pathKey, value, sizeof value, &found);
    if (status != HTTP_OK) {
        return status;
    }
    status = splitPath(value, pSettings);
    if (status != HTTP_OK) {
        return status;
    }
    return queryRefuseRepeated(pQueryString, length, pathKey, value, sizeof value);
}

int parseQueryKeys(std::initializer_list<queryParser> parsers, const char *pQueryString, int length,
                   mediaQuerySettings *pSettings)
{
    int status = HTTP_OK;
    for (auto parse = parsers.begin(); parse != parsers.end() && status == HTTP_OK; ++parse) {
        status = (*parse)(pQueryString, length, pSettings);
    }
    finishSettings(pSettings);
    return status;
}
