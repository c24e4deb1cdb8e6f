#include "request.h"

#include <cstring>

void copyWireText(char *pField, const char *pText, size_t width)
{
    const size_t length = strnlen(pText, width);
    memcpy(pField, pText, length);
    memset(pField + length, 0, width - length);
}

uint32_t tokenOf(const void *pRequest)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pRequest));
}

void composeHeader(db_request_header *pHeader, uint32_t commandType)
{
    pHeader->command_type = commandType;
    pHeader->request_count = 1;
    pHeader->token = tokenOf(pHeader);
}

void composeFileRequest(db_file_request *pRequest, uint32_t commandType, const char *pDirName, const char *pFileName)
{
    composeHeader(&pRequest->header, commandType);
    copyWireText(pRequest->file.dir_name, pDirName, DB_DIR_NAME_BYTES);
    copyWireText(pRequest->file.file_name, pFileName, DB_FILE_NAME_BYTES);
}

void composeUploadStatusRequest(db_upload_status_request *pRequest, const char *pDirName, const char *pFileName,
                                uint32_t uploadStatus)
{
    composeHeader(&pRequest->header, DB_COMMAND_SET_UPLOAD_STATUS);
    copyWireText(pRequest->file.dir_name, pDirName, DB_DIR_NAME_BYTES);
    copyWireText(pRequest->file.file_name, pFileName, DB_FILE_NAME_BYTES);
    pRequest->upload_status = uploadStatus;
}
