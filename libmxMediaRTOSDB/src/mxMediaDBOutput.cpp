#include "mxMediaDBOutput.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "httpStatus.h"
#include "utilLog.h"

namespace
{

struct bufferView {
    char *pStart;
    char **ppPos;
    size_t limit;
    const char *pLogName; // null: the buffer whose write position stays where a refusal finds it
};

bufferView viewOf(mxMediaDBOutput *pMXMOut, outputBuffer buffer)
{
    switch (buffer) {
    case OUTPUT_BUFFER_ENTRY:
        return {pMXMOut->localEntryBuffer, &pMXMOut->localEntryPos, LOCAL_ENTRY_BUFFER_LIMIT, "entry"};
    case OUTPUT_BUFFER_DIRECTORY:
        return {pMXMOut->localDirectoryBuffer, &pMXMOut->localDirectoryPos, LOCAL_DIRECTORY_BUFFER_LIMIT, "dir"};
    default:
        return {pMXMOut->localBuffer, &pMXMOut->localBufferPos, LOCAL_BUFFER_LIMIT, nullptr};
    }
}

void refuse(const bufferView &view, size_t total, const char *pFile, int line)
{
    if (view.pLogName == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "exceeded buffer length for mxoutput %d, %s:%d\n", static_cast<int>(total),
                 pFile, line);
        return;
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "%d > %d, %s buff exceeded, %s:%d\n", static_cast<int>(total),
             static_cast<int>(view.limit), view.pLogName, pFile, line);
    *view.ppPos = view.pStart;
}

char *allocateText(size_t limit)
{
    return static_cast<char *>(calloc(limit + 1, 1));
}

} // namespace

int mxMediaDBOutputCtor(mxMediaDBOutput *pMXM, void *outputHandle)
{
    UTIL_ASSERT(pMXM);
    const int local = mxMediaDBOutputCtorLocal(pMXM);
    pMXM->outputHandle = outputHandle;
    if (local < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "malloc localBuffer failed medialist\n");
    }
    pMXM->localDirectoryPos = pMXM->localDirectoryBuffer = allocateText(LOCAL_DIRECTORY_BUFFER_LIMIT);
    if (pMXM->localDirectoryBuffer == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "malloc localDirectoryBuffer failed medialist\n");
    }
    pMXM->localEntryPos = pMXM->localEntryBuffer = allocateText(LOCAL_ENTRY_BUFFER_LIMIT);
    if (pMXM->localEntryBuffer == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "malloc localEntryBuffer failed medialist\n");
    }
    if (local < 0 || pMXM->localDirectoryBuffer == nullptr || pMXM->localEntryBuffer == nullptr) {
        mxMediaDBOutputDtor(pMXM);
        return -1;
    }
    return 0;
}

int mxMediaDBOutputCtorLocal(mxMediaDBOutput *pMXM)
{
    *pMXM = {};
    pMXM->localBufferPos = pMXM->localBuffer = allocateText(LOCAL_BUFFER_LIMIT);
    return pMXM->localBuffer == nullptr ? -1 : 0;
}

void mxMediaDBOutputDtor(mxMediaDBOutput *pMXM)
{
    free(pMXM->localBuffer);
    pMXM->localBuffer = pMXM->localBufferPos = nullptr;
    free(pMXM->localDirectoryBuffer);
    pMXM->localDirectoryBuffer = pMXM->localDirectoryPos = nullptr;
    free(pMXM->localEntryBuffer);
    pMXM->localEntryBuffer = pMXM->localEntryPos = nullptr;
}

void boundedWrite(mxMediaDBOutput *pMXMOut, outputBuffer buffer, int *pStatus, const char *pFile, int line,
                  const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);

    const bufferView view = viewOf(pMXMOut, buffer);
    const size_t wanted = length < 0 ? view.limit + 1 : static_cast<size_t>(length);
    // From the start, not from the write position: that may have gone back, and the old text counts until it is ended.
    const size_t total = strlen(view.pStart) + wanted;
    if (total > view.limit) {
        refuse(view, total, pFile, line);
        *pStatus = HTTP_INTERNAL_SERVER_ERROR;
        return;
    }
    va_start(arguments, format);
    vsnprintf(*view.ppPos, wanted + 1, format, arguments);
    va_end(arguments);
    *view.ppPos += wanted;
}

void flushEntry(mxMediaDBOutput *pMXMOut, int *pStatus)
{
    appendDirectory(pMXMOut, pStatus, "%s", pMXMOut->localEntryBuffer);
    discardEntry(pMXMOut);
}

void discardEntry(mxMediaDBOutput *pMXMOut)
{
    memset(pMXMOut->localEntryBuffer, 0, LOCAL_ENTRY_BUFFER_LIMIT + 1);
    pMXMOut->localEntryPos = pMXMOut->localEntryBuffer;
}

void flushDirectory(mxMediaDBOutput *pMXMOut, int *pStatus)
{
    appendLocal(pMXMOut, pStatus, "%s", pMXMOut->localDirectoryBuffer);
    pMXMOut->localDirectoryPos = pMXMOut->localDirectoryBuffer;
}

void printHttpHead(int status)
{
    printf("HTTP/1.1 %d \r\nContent-Type: application/json\r\n\r\n", status);
}
