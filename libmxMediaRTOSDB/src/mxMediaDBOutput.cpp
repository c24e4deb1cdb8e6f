#include "mxMediaDBOutput.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "httpStatus.h"
#include "utilLog.h"

namespace
{

constexpr size_t shortTextBytes = 512;

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

// The text now in a buffer, from its start. No zero stands in front of the write position; behind it there is old text
// when the position has gone back, and that counts until it is ended.
size_t lengthOf(const bufferView &view)
{
    return static_cast<size_t>(*view.ppPos - view.pStart) + strlen(*view.ppPos);
}

bool requireRoom(const bufferView &view, size_t wanted, int *pStatus, const char *pFile, int line)
{
    const size_t total = lengthOf(view) + wanted;
    if (total > view.limit) {
        refuse(view, total, pFile, line);
        *pStatus = HTTP_INTERNAL_SERVER_ERROR;
        return false;
    }
    return true;
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
    // Nearly every text is short, and then formatted only once.
    char shortText[shortTextBytes];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(shortText, sizeof shortText, format, arguments);
    va_end(arguments);

    const bufferView view = viewOf(pMXMOut, buffer);
    const size_t wanted = length < 0 ? view.limit + 1 : static_cast<size_t>(length);
    if (!requireRoom(view, wanted, pStatus, pFile, line)) {
        return;
    }
    if (wanted < sizeof shortText) {
        memcpy(*view.ppPos, shortText, wanted + 1);
    } else {
        va_start(arguments, format);
        vsnprintf(*view.ppPos, wanted + 1, format, arguments);
        va_end(arguments);
    }
    *view.ppPos += wanted;
}

void boundedText(mxMediaDBOutput *pMXMOut, outputBuffer buffer, int *pStatus, const char *pFile, int line,
                 std::initializer_list<const char *> pieces)
{
    const bufferView view = viewOf(pMXMOut, buffer);
    size_t wanted = 0;
    for (const char *pPiece : pieces) {
        wanted += strlen(pPiece);
    }
    if (!requireRoom(view, wanted, pStatus, pFile, line)) {
        return;
    }
    for (const char *pPiece : pieces) {
        *view.ppPos = stpcpy(*view.ppPos, pPiece);
    }
}

void flushEntry(mxMediaDBOutput *pMXMOut, int *pStatus)
{
    boundedText(pMXMOut, OUTPUT_BUFFER_DIRECTORY, pStatus, MX_SOURCE_NAME, __LINE__, {pMXMOut->localEntryBuffer});
    discardEntry(pMXMOut);
}

void discardEntry(mxMediaDBOutput *pMXMOut)
{
    memset(pMXMOut->localEntryBuffer, 0, LOCAL_ENTRY_BUFFER_LIMIT + 1);
    pMXMOut->localEntryPos = pMXMOut->localEntryBuffer;
}

void flushDirectory(mxMediaDBOutput *pMXMOut, int *pStatus)
{
    boundedText(pMXMOut, OUTPUT_BUFFER_LOCAL, pStatus, MX_SOURCE_NAME, __LINE__, {pMXMOut->localDirectoryBuffer});
    pMXMOut->localDirectoryPos = pMXMOut->localDirectoryBuffer;
}

void printHttpHead(int status)
{
    printf("HTTP/1.1 %d \r\nContent-Type: application/json\r\n\r\n", status);
}
