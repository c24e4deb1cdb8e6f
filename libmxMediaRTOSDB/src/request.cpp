#include "request.h"

#include "fillField.h"

namespace
{

uint32_t tokenOf(const void *pRequest)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pRequest));
}

} // namespace

void composeHeader(db_request_header *pHeader, uint32_t commandType)
{
    pHeader->command_type = commandType;
    pHeader->request_count = 1;
    pHeader->token = tokenOf(pHeader);
}

void composeFileRequest(db_file_request *pRequest, uint32_t commandType, const char *pDirName, const char *pFileName)
{
    composeHeader(&pRequest->header, commandType);
    fillField(pRequest->file.dir_name, DB_DIR_NAME_BYTES, pDirName);
    fillField(pRequest->file.file_name, DB_FILE_NAME_BYTES, pFileName);
}

void composeUploadStatusRequest(db_upload_status_request *pRequest, const char *pDirName, const char *pFileName,
                                uint32_t uploadStatus)
{
    composeHeader(&pRequest->header, DB_COMMAND_SET_UPLOAD_STATUS);
    fillField(pRequest->file.dir_name, DB_DIR_NAME_BYTES, pDirName);
    fillField(pRequest->file.file_name, DB_FILE_NAME_BYTES, pFileName);
    pRequest->upload_status = uploadStatus;
}
