#include "metadataVideo.h"

#include "contentType.h"
#include "fieldFormatters.h"
#include "fieldTable.h"
#include "fieldText.h"
#include "httpStatus.h"
#include "metadataDocument.h"
#include "typedResponse.h"
#include "utilLog.h"

namespace
{

void writeTags(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_video_specific_info &video)
{
    appendEntry(pMXMOut, pStatus, "%s\"tag_count\":%u,\"tags\":[", pPrepend, video.highlight_count);
    appendHighlights(pMXMOut, pStatus, &video);
}

// Which document has a field: rows are the fields of both, in their common order.
enum : uint32_t { IN_VIDEOINFO = 1, IN_DUR = 2, IN_BOTH = 3 };

constexpr fieldRow<db_video_specific_info> videoFields[] = {
    {IN_BOTH, "dur", [](const db_video_specific_info &video) { return roundedSeconds(video.duration); }},
    {IN_BOTH, "c", [](const db_video_specific_info &video) -> uint32_t { return video.is_clipped_file; }},
    {IN_VIDEOINFO, "avc_profile", [](const db_video_specific_info &video) -> uint32_t { return video.avc_profile; }},
    {IN_BOTH, "profile", [](const db_video_specific_info &video) -> uint32_t { return video.avc_level; }},
    {IN_VIDEOINFO, nullptr, nullptr, writeTags},
};

int videoRecord(const metadataRequest &request, uint8_t *pRespBuf, const db_video_specific_info **ppVideoInfo)
{
    const db_content_info *pInfo = nullptr;
    const int status = getVideoSpecificInfoResponse(request.pRtosConn, request.pSettings->dirName,
                                                    request.pSettings->fileName, pRespBuf, &pInfo, ppVideoInfo);
    if (status != HTTP_OK) {
        return status;
    }
    if (!isVideoType(pInfo->content_type)) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "not implemented for content_type %d\n", pInfo->content_type);
        return HTTP_NOT_IMPLEMENTED;
    }
    return HTTP_OK;
}

int videoInfoDocument(const metadataRequest &request, uint8_t *pRespBuf)
{
    const db_video_specific_info *pVideoInfo = nullptr;
    int status = videoRecord(request, pRespBuf, &pVideoInfo);
    if (status == HTTP_OK) {
        status = formatMetadataVideoInfo(request.pMXMOut, pVideoInfo);
    }
    const db_more_info *pMoreInfo = nullptr;
    if (status == HTTP_OK) {
        status = getMoreInfoResponse(request.pRtosConn, request.pSettings->dirName, request.pSettings->fileName,
                                     pRespBuf, &pMoreInfo);
    }
    return status == HTTP_OK ? formatMoreInfo(request.pMXMOut, FIELD_ALL, ",", pMoreInfo) : status;
}

int durDocument(const metadataRequest &request, uint8_t *pRespBuf)
{
    const db_video_specific_info *pVideoInfo = nullptr;
    const int status = videoRecord(request, pRespBuf, &pVideoInfo);
    return status == HTTP_OK ? formatMetadataDur(request.pMXMOut, pVideoInfo) : status;
}

} // namespace

int generateMetadataVideoInfo(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings)
{
    UTIL_ASSERT(pMXMOut);
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pSettings);
    UTIL_ASSERT(eDBFILTER_T_GET_VIDEOINFO == pSettings->filter);
    return composeMetadata({pMXMOut, pRtosConn, pSettings}, videoInfoDocument);
}

int generateMetadataDur(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings)
{
    return composeMetadata({pMXMOut, pRtosConn, pSettings}, durDocument);
}

int formatMetadataVideoInfo(mxMediaDBOutput *pMXMOut, const db_video_specific_info *pVideoInfo)
{
    UTIL_ASSERT(pVideoInfo);
    return writeFields(videoFields, pMXMOut, IN_VIDEOINFO, "", *pVideoInfo);
}

int formatMetadataDur(mxMediaDBOutput *pMXMOut, const db_video_specific_info *pVideoInfo)
{
    UTIL_ASSERT(pVideoInfo);
    return writeFields(videoFields, pMXMOut, IN_DUR, "", *pVideoInfo);
}
