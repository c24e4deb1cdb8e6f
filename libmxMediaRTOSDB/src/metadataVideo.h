/**
 * @file metadataVideo.h
 * The documents that exist for videos only: "videoinfo" and "dur". Their keys are fixed; no mask touches them. An item
 * that is no video gives 501.
 */
#ifndef METADATA_VIDEO_H
#define METADATA_VIDEO_H

#include "mxMediaDBOutput.h"
#include "mxMediaRTOSDB.h"
#include "queryString.h"
#include "rtosConnection.h"

/** Stream details, tags and picture format of one video. REQUIRES: the filter is its own. @return HTTP status */
int generateMetadataVideoInfo(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings);

/** Duration of one video. @return HTTP status */
int generateMetadataDur(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings);

/**
 * Fields of "videoinfo" up to its tags.
 * @param pVideoInfo REQUIRES: its highlights follow it, as for formatVideoInfo
 * @return 200, or 500 when the buffer refused a text
 */
int formatMetadataVideoInfo(mxMediaDBOutput *pMXMOut, const db_video_specific_info *pVideoInfo);

/** Fields of "dur". @return 200, or 500 when the buffer refused a text */
int formatMetadataDur(mxMediaDBOutput *pMXMOut, const db_video_specific_info *pVideoInfo);

#endif
