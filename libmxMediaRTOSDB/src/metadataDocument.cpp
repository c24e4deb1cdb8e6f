#include "metadataDocument.h"

#include "contentType.h"
#include "fieldFormatters.h"
#include "httpStatus.h"
#include "typedResponse.h"

namespace
{

// The fields that each family of items may show.
constexpr uint32_t everyFamily = FIELD_N | FIELD_MOD | FIELD_CRE | FIELD_S | FIELD_HC | FIELD_GUMI | FIELD_PGUMI |
                                 FIELD_US | FIELD_EIS | FIELD_TR | FIELD_WIDTH_HEIGHT;
constexpr uint32_t videoFamily = everyFamily | FIELD_LS | FIELD_CL | FIELD_HI | FIELD_ZTA | FIELD_AO | FIELD_MP |
                                 FIELD_DUR | FIELD_FRAME_RATE | FIELD_PROG | FIELD_SUBSAMPLE;
constexpr uint32_t otherFamily = everyFamily | FIELD_WDR | FIELD_RAW;

// A type that no item has, negative ones included, counts as neither video nor media.
bool hasMoreInfo(db_content_type type)
{
    return isContentType(type) && contentTypeOf(type).kind != ITEM_METADATA;
}

// Refreshes the type with that of the answer; of an item that is no video any more no record came.
int addVideoInfo(const metadataRequest &request, uint8_t *pRespBuf, uint32_t mask, db_content_type *pType)
{
    const db_content_info *pInfo = nullptr;
    const db_video_specific_info *pVideoInfo = nullptr;
    const int status = getVideoSpecificInfoResponse(request.pRtosConn, request.pSettings->dirName,
                                                    request.pSettings->fileName, pRespBuf, &pInfo, &pVideoInfo);
    if (status != HTTP_OK) {
        return status;
    }
    *pType = pInfo->content_type;
    return formatVideoInfo(request.pMXMOut, mask, ",", isVideoType(*pType) ? pVideoInfo : nullptr);
}

int addMoreInfo(const metadataRequest &request, uint8_t *pRespBuf, uint32_t mask)
{
    const db_more_info *pMoreInfo = nullptr;
    const int status = getMoreInfoResponse(request.pRtosConn, request.pSettings->dirName, request.pSettings->fileName,
                                           pRespBuf, &pMoreInfo);
    return status == HTTP_OK ? formatMoreInfo(request.pMXMOut, mask, ",", pMoreInfo) : status;
}

int v4InfoFields(const metadataRequest &request, uint8_t *pRespBuf)
{
    const db_content_info *pInfo = nullptr;
    const uint8_t *pGUMI = nullptr;
    const uint8_t *pPGUMI = nullptr;
    int status = getFileGUMIResponse(request.pRtosConn, request.pSettings->dirName, request.pSettings->fileName,
                                     pRespBuf, &pInfo, &pGUMI, &pPGUMI);
    if (status != HTTP_OK) {
        return status;
    }
    db_content_type type = pInfo->content_type;
    const uint32_t mask = request.pSettings->whitelistMask & (isVideoType(type) ? videoFamily : otherFamily);
    // The highlights of a video are told once, by its video record.
    const uint32_t infoMask = isVideoType(type) ? mask & ~(FIELD_HC | FIELD_HI) : mask;

    status = formatContentInfo(request.pMXMOut, infoMask, pInfo);
    if (status == HTTP_OK) {
        status = formatGUMI(request.pMXMOut, infoMask, ",", pGUMI, pPGUMI);
    }
    if (status == HTTP_OK && isVideoType(type)) {
        status = addVideoInfo(request, pRespBuf, mask, &type);
    }
    if (status == HTTP_OK && hasMoreInfo(type)) {
        status = addMoreInfo(request, pRespBuf, mask);
    }
    return status;
}

int uploadFields(const metadataRequest &request, uint8_t *pRespBuf)
{
    const mediaQuerySettings &settings = *request.pSettings;
    if (settings.filter == eDBFILTER_T_SET_UPLOAD) {
        const int written = getWriteUploadStatusResponse(request.pRtosConn, settings.dirName, settings.fileName,
                                                         pRespBuf, settings.newUploadStatus);
        if (written != HTTP_OK) {
            return written;
        }
    }
    const db_content_info *pInfo = nullptr;
    const int status = getContentInfoResponse(request.pRtosConn, settings.dirName, settings.fileName, pRespBuf, &pInfo);
    return status == HTTP_OK ? formatContentInfo(request.pMXMOut, FIELD_US, pInfo) : status;
}

} // namespace

int composeMetadata(const metadataRequest &request, metadataFields fields)
{
    int status = HTTP_OK;
    appendEntry(request.pMXMOut, &status, "{");
    if (status == HTTP_OK) {
        uint8_t response[DB_MESSAGE_MAX_BYTES] = {};
        status = fields(request, response);
    }
    appendEntry(request.pMXMOut, &status, "}");
    return status;
}

int generateMetadataV4Info(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings)
{
    return composeMetadata({pMXMOut, pRtosConn, pSettings}, v4InfoFields);
}

int generateMetadataUpload(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings)
{
    return composeMetadata({pMXMOut, pRtosConn, pSettings}, uploadFields);
}
