#include "metadataQuery.h"

#include <cstring>

#include "httpStatus.h"
#include "utilLog.h"

namespace
{

constexpr queryKey documentKey = {"t", "Field", "internal storage"};
// A second "t" is told in other words than the rest.
constexpr queryKey repeatedDocumentKey = {"t", "Required field", "internal storage"};

struct documentWord {
    const char *pWord;
    uint32_t filter;
};

constexpr documentWord documentWords[] = {
    {"videoinfo", eDBFILTER_T_GET_VIDEOINFO},
    {"dur", eDBFILTER_T_GET_DUR},
    {"v4info", eDBFILTER_T_GET_V4INFO},
    {"upload", eDBFILTER_T_GET_UPLOAD},
};

int selectDocument(const char *pValue, int length, mediaQuerySettings *pSettings)
{
    for (const documentWord &row : documentWords) {
        if (strlen(row.pWord) == static_cast<size_t>(length) && strcmp(row.pWord, pValue) == 0) {
            pSettings->filter = row.filter;
            return HTTP_OK;
        }
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%s=%s not implemented\n", documentKey.pName, pValue);
    return HTTP_NOT_IMPLEMENTED;
}

int parseDocument(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    char value[QUERY_VALUE_BYTES] = "";
    int found = 0;
    int status = queryReadRequiredKey(pQueryString, length, documentKey, value, sizeof value, &found);
    if (status != HTTP_OK) {
        return status;
    }
    status = selectDocument(value, found, pSettings);
    if (status != HTTP_OK) {
        return status;
    }
    return queryRefuseRepeated(pQueryString, length, repeatedDocumentKey, value, sizeof value);
}

} // namespace

int parseMetadataQuery(const char *pQueryString, int length, mediaQuerySettings *pSettings)
{
    return parseQueryKeys({parseDocument, parseQueryP, parseQueryStatus}, pQueryString, length, pSettings);
}
