/**
 * @file fieldTable.h
 * Tables of JSON fields, and the one walker that reads them.
 */
#ifndef FIELD_TABLE_H
#define FIELD_TABLE_H

#include <cstddef>
#include <cstdint>

#include "httpStatus.h"
#include "mxMediaDBOutput.h"

/** One field of a record: a key with an unsigned number, or a text of its own. */
template <typename Record>
struct fieldRow {
    uint32_t mask;                                     ///< the bit that allows the field
    const char *pKey = nullptr;                        ///< key of a number
    uint32_t (*value)(const Record &record) = nullptr; ///< the number; null: `write` writes the field
    /** Writes a field that is no plain number, its separator in front. */
    void (*write)(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const Record &record) = nullptr;
};

/** Writes the separator, the key, and the number as a string. */
void appendNumber(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const char *pKey, uint32_t value);

/** Writes the allowed fields of a table, in its order, through to its end. @return 200, or 500 after a refusal */
template <typename Record, size_t Rows>
int writeFields(const fieldRow<Record> (&rows)[Rows], mxMediaDBOutput *pMXMOut, uint32_t whitelistMask,
                const char *pPrepend, const Record &record)
{
    int status = HTTP_OK;
    for (const fieldRow<Record> &row : rows) {
        if ((row.mask & whitelistMask) == 0) {
            continue;
        }
        if (row.value != nullptr) {
            appendNumber(pMXMOut, &status, pPrepend, row.pKey, row.value(record));
        } else {
            row.write(pMXMOut, &status, pPrepend, record);
        }
        pPrepend = ",";
    }
    return status;
}

#endif
