/**
 * @file errorNames.h
 * Names of error codes and of camera models. Part of the interface, without a caller in the console, which exports the
 * table of error codes all the same.
 */
#ifndef ERROR_NAMES_H
#define ERROR_NAMES_H

#include <cstdint>

/** One row of a table of names. */
struct mxNameOfCode {
    const char *pName;
    int32_t code;
};

enum { MX_ERRNO_ROWS = 22 };

extern "C" {

/** The error codes. Exported by the program. */
extern const mxNameOfCode mxErrnoStrMap[MX_ERRNO_ROWS];

/** Name of an error code, or "UNKNOWN" for a code without a row. */
const char *mxErrnoToStr(int32_t code);

/** Name of a camera model's code, or null for an unknown code. */
const char *mxModelToStr(int32_t code);

} // extern "C"

#endif
