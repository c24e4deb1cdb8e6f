/**
 * @file metadataDocument.h
 * The frame of a metadata document, and the documents that exist for every kind of item: "v4info" and "upload".
 *
 * A document is composed in `localEntryBuffer`. Its status is 200, or that of the first failure; the text of a failed
 * document is not to be printed.
 */
#ifndef METADATA_DOCUMENT_H
#define METADATA_DOCUMENT_H

#include <cstdint>

#include "mxMediaDBOutput.h"
#include "queryString.h"
#include "rtosConnection.h"

/** What a document is made with. */
struct metadataRequest {
    mxMediaDBOutput *pMXMOut;
    rtosConnection *pRtosConn;           ///< open
    const mediaQuerySettings *pSettings; ///< names the file
};

/**
 * Writes the fields of a document.
 * @param pRespBuf `DB_MESSAGE_MAX_BYTES` bytes for every exchange of the document, zero-filled before the first
 * @return HTTP status
 */
using metadataFields = int (*)(const metadataRequest &request, uint8_t *pRespBuf);

/** Composes a document: "{", the fields, "}" whatever happened before. @return HTTP status */
int composeMetadata(const metadataRequest &request, metadataFields fields);

/** Everything known about one item, within the settings' `whitelistMask`. @return HTTP status */
int generateMetadataV4Info(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings);

/** The upload status of one item, written before if the filter says so. @return HTTP status */
int generateMetadataUpload(mxMediaDBOutput *pMXMOut, rtosConnection *pRtosConn, const mediaQuerySettings *pSettings);

#endif
