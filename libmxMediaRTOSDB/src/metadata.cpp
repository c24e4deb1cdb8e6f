#include "mxMediaRTOSDB.h"

#include <cstdio>
#include <cstring>

#include "documentStart.h"
#include "fieldMask.h"
#include "httpStatus.h"
#include "metadataDocument.h"
#include "metadataQuery.h"
#include "metadataVideo.h"
#include "utilLog.h"

namespace
{

constexpr uint32_t metadataMask = FIELD_ALL & ~(FIELD_N | FIELD_MOD | FIELD_DNE);

// What a request has open; closed on every way out.
struct openRequest {
    mxMediaDBOutput &output;
    rtosConnection &connection;

    ~openRequest()
    {
        rtosConnectionDtor(&connection);
        mxMediaDBOutputDtor(&output);
    }
};

struct documentRow {
    uint32_t filter;
    int (*generate)(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings);
};

constexpr documentRow documents[] = {
    {eDBFILTER_T_GET_VIDEOINFO, generateMetadataVideoInfo}, {eDBFILTER_T_GET_DUR, generateMetadataDur},
    {eDBFILTER_T_GET_V4INFO, generateMetadataV4Info},       {eDBFILTER_T_GET_UPLOAD, generateMetadataUpload},
    {eDBFILTER_T_SET_UPLOAD, generateMetadataUpload},
};

int generateDocument(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings)
{
    for (const documentRow &row : documents) {
        if (row.filter == pSettings->filter) {
            return row.generate(pMXMOut, pRtosConn, pSettings);
        }
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid dataSet (%d)", pSettings->filter);
    return HTTP_INTERNAL_SERVER_ERROR;
}

int answerHeadAlone(int status)
{
    printHttpHead(status);
    return -1;
}

} // namespace

int generateMetadata(void *outputHandle, const char *pQueryString)
{
    UTIL_ASSERT(pQueryString);
    mediaQuerySettings settings = {};
    settings.whitelistMask = metadataMask;
    int status = parseMetadataQuery(pQueryString, static_cast<int>(strlen(pQueryString)), &settings);
    if (status != HTTP_OK) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "parseMetadataQuery ret: %d, query:'%s'", status, pQueryString);
        return answerHeadAlone(status);
    }
    mxMediaDBOutput output;
    if (mxMediaDBOutputCtor(&output, outputHandle) < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxMediaDBOutputCtor ret < 0");
        return answerHeadAlone(HTTP_INTERNAL_SERVER_ERROR);
    }
    rtosConnection connection;
    const openRequest guard = {output, connection};
    char cardId[CARD_ID_BYTES] = "";
    status = documentConnect(&connection, cardId);
    if (status == HTTP_OK) {
        status = generateDocument(&output, &connection, &settings);
    }
    if (status != HTTP_OK) {
        return answerHeadAlone(status);
    }
    printHttpHead(status);
    printf("%s\r\n", output.localEntryBuffer);
    return 0;
}
