/**
 * @file request.h
 * Composing requests. No byte of a request is left undefined.
 */
#ifndef REQUEST_H
#define REQUEST_H

#include <cstddef>
#include <cstdint>

#include "mxMediaRTOSDB.h"

/** Copies text up to a zero byte, at most `width` characters, and pads the field with zeros. */
void copyWireText(char *pField, const char *pText, size_t width);

/** The token of a request built inside the library: the low 32 bits of the record's own address. */
uint32_t tokenOf(const void *pRequest);

/** Fills a header that asks for one item with the library's own token. */
void composeHeader(db_request_header *pHeader, uint32_t commandType);

/** Composes a request about one file; the names are read up to a zero byte, at most 8 and 12 characters. */
void composeFileRequest(db_file_request *pRequest, uint32_t commandType, const char *pDirName, const char *pFileName);

/** Composes the write of a file's upload status, with the library's own token; the names are read as above. */
void composeUploadStatusRequest(db_upload_status_request *pRequest, const char *pDirName, const char *pFileName,
                                uint32_t uploadStatus);

#endif
