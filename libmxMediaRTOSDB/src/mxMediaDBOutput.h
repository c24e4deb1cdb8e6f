/**
 * @file mxMediaDBOutput.h
 * The output of one request: three buffers of fixed size in which a document is composed, the bounded write by which
 * every text enters them, and the head of an answer. A document that does not fit ends in status 500; no buffer grows.
 */
#ifndef MX_MEDIA_DB_OUTPUT_H
#define MX_MEDIA_DB_OUTPUT_H

#include <initializer_list>

#include "utilLog.h"

/** Limits of the buffers in characters; the storage has one byte more, for the terminating zero. */
enum {
    LOCAL_ENTRY_BUFFER_LIMIT = 0x600,       ///< one media entry, or one whole metadata document
    LOCAL_DIRECTORY_BUFFER_LIMIT = 0x10000, ///< the entries of one directory
    LOCAL_BUFFER_LIMIT = 0x20000            ///< the array of all directory blocks
};

/** The output object of one request. Each text ends in a zero; each position is where the next text goes. */
struct mxMediaDBOutput {
    void *outputHandle;         ///< as the caller of the generator gave it; nothing reads it
    char *localBuffer;          ///< owned; the document
    char *localBufferPos;       ///< in `localBuffer`
    char *localDirectoryBuffer; ///< owned; the open directory block
    char *localDirectoryPos;    ///< in `localDirectoryBuffer`
    char *localEntryBuffer;     ///< owned; the entry in hand
    char *localEntryPos;        ///< in `localEntryBuffer`
};

/**
 * Constructs an object with its three buffers, all zero-filled. Every failed allocation is logged.
 * @return 0; or -1 when an allocation failed: nothing is allocated then, and nothing needs to be destroyed
 */
int mxMediaDBOutputCtor(mxMediaDBOutput *pMXM, void *outputHandle);

/**
 * Constructs an object that has `localBuffer` alone, zero-filled; only appendLocal may write to it. Logs nothing.
 * @return 0, or -1 when the allocation failed: nothing needs to be destroyed then
 */
int mxMediaDBOutputCtorLocal(mxMediaDBOutput *pMXM);

/** Frees the buffers and clears all positions. Does nothing to an object that is destroyed already. */
void mxMediaDBOutputDtor(mxMediaDBOutput *pMXM);

/** The buffers of an output object. */
enum outputBuffer { OUTPUT_BUFFER_ENTRY, OUTPUT_BUFFER_DIRECTORY, OUTPUT_BUFFER_LOCAL };

/**
 * The bounded write. Formats a text at the buffer's write position if it fits the limit together with the text that
 * stands in the buffer from its start; else refuses it: one log line, status 500, and the write position of the entry
 * or directory buffer goes back to the start. Called through the macros below.
 * @param pStatus set to 500 by a refusal, else left alone
 * @param pFile,line the place that the log line names
 * @param format text as for printf
 */
void boundedWrite(mxMediaDBOutput *pMXMOut, outputBuffer buffer, int *pStatus, const char *pFile, int line,
                  const char *format, ...) __attribute__((format(printf, 6, 7)));

/**
 * The bounded write of a text that needs no formatting: of its pieces, one behind the other. It fits as a whole or not
 * at all.
 * @param pieces texts that end in a zero
 */
void boundedText(mxMediaDBOutput *pMXMOut, outputBuffer buffer, int *pStatus, const char *pFile, int line,
                 std::initializer_list<const char *> pieces);

/** Bounded write into `localEntryBuffer`: output object, status by pointer, format and its arguments. */
#define appendEntry(pMXMOut, pStatus, format, ...)                                                                     \
    boundedWrite(pMXMOut, OUTPUT_BUFFER_ENTRY, pStatus, MX_SOURCE_NAME, __LINE__, format __VA_OPT__(, ) __VA_ARGS__)

/** Bounded write into `localDirectoryBuffer`. */
#define appendDirectory(pMXMOut, pStatus, format, ...)                                                                 \
    boundedWrite(pMXMOut, OUTPUT_BUFFER_DIRECTORY, pStatus, MX_SOURCE_NAME, __LINE__, format __VA_OPT__(, ) __VA_ARGS__)

/** Bounded write into `localBuffer`. */
#define appendLocal(pMXMOut, pStatus, format, ...)                                                                     \
    boundedWrite(pMXMOut, OUTPUT_BUFFER_LOCAL, pStatus, MX_SOURCE_NAME, __LINE__, format __VA_OPT__(, ) __VA_ARGS__)

/** Writes the entry's text into the directory buffer. Fitting or not, all of the entry buffer is zero afterwards. */
void flushEntry(mxMediaDBOutput *pMXMOut, int *pStatus);

/** Clears the entry buffer: all of it is zero, the write position at its start. */
void discardEntry(mxMediaDBOutput *pMXMOut);

/**
 * Writes the directory's text into the document buffer. The directory's write position is at its start afterwards; the
 * text stays, and counts, until the next write ends it.
 */
void flushDirectory(mxMediaDBOutput *pMXMOut, int *pStatus);

/** Prints the head of an answer to standard output. */
void printHttpHead(int status);

#endif
