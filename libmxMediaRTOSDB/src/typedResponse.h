/**
 * @file typedResponse.h
 * Questions about one file, answered by an HTTP status and pointers to the records.
 *
 * Each function makes one retried exchange over an open connection. Results: HTTP_OK; HTTP_NOT_FOUND, there is no such
 * file; HTTP_SERVICE_UNAVAILABLE, the database can't answer now; HTTP_INTERNAL_SERVER_ERROR, a failed exchange, a
 * response that is too short, or a refusal. The connection stays open in any case.
 *
 * The names are read up to a zero byte, at most 8 and 12 characters. `pRespBuf` has `DB_MESSAGE_MAX_BYTES` bytes and
 * belongs to the caller. The records that a function hands out stand in that buffer, at any address, and are valid
 * until its next use. Out-pointers are null on every result but HTTP_OK, unless told otherwise. A null argument is an
 * assertion.
 */
#ifndef TYPED_RESPONSE_H
#define TYPED_RESPONSE_H

#include <cstdint>

#include "mxMediaRTOSDB.h"
#include "rtosConnection.h"

/** Basic record of a file. @param ppInfo receives the record; its `content_type` is not -1 */
int getContentInfoResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf,
                           const db_content_info **ppInfo);

/**
 * Basic record and video record of a file.
 * @param ppInfo receives the basic record
 * @param ppVideoInfo receives the video record, behind which all its highlights were received. Only for content types
 *        0 to 3: for any other it points at bytes that may not have been received, and is not to be followed.
 */
int getVideoSpecificInfoResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName,
                                 uint8_t *pRespBuf, const db_content_info **ppInfo,
                                 const db_video_specific_info **ppVideoInfo);

/** Picture format of a file. @param ppMoreInfo receives the record; stays as it was on every result but HTTP_OK */
int getMoreInfoResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf,
                        const db_more_info **ppMoreInfo);

/**
 * GUMIs of a file, `DB_GUMI_BYTES` each. A response that does not hold the whole GUMI gives zeros for both; bytes of
 * the parent's GUMI that were not received are zero.
 * @param ppInfo receives the basic record
 * @param ppGUMI receives the file's GUMI
 * @param ppPGUMI receives the GUMI of its parent, null for a file that is no clip
 */
int getFileGUMIResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf,
                        const db_content_info **ppInfo, const uint8_t **ppGUMI, const uint8_t **ppPGUMI);

/** Writes the upload status of a file, unchecked. The buffer then holds nothing of interest. */
int getWriteUploadStatusResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName,
                                 uint8_t *pRespBuf, uint32_t uploadStatus);

#endif
