/**
 * @file readings.h
 * The catalogue as the first reading of a check saw it, the callbacks that build it and hold later readings against it,
 * and the way in which a check fails.
 */
#ifndef READINGS_H
#define READINGS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "mxMediaRTOSDB.h"

/** One item of the catalogue. */
struct ConsistencyItem {
    uint32_t index = 0;             ///< position in the database
    cah_item_s desc = {};           ///< the item without its texts, which end with the callback
    std::vector<std::string> files; ///< paths of its files, in the order of the file callback
    std::string dirName;            ///< `dir_name` of the item
    std::string fileName;           ///< `file_name` of the item
    size_t nextFile = 0;            ///< where the search for the next file begins
};

/** The items, in the order of the database until they are sorted. */
extern std::vector<ConsistencyItem> gItems;

/** Position in `gItems` of the item under test. */
extern uint32_t gIdx;

/** Items counted by upload status; the report of a reading prints it by this name. */
extern uint32_t histogram[UPLOAD_STATUS_HISTOGRAM_SIZE];

/** Every file, as "100MOXEL/MOXE0001.MP4", with the number of passes since the first that have seen it. */
extern std::map<std::string, int32_t, std::less<>> gFileMap;

/**
 * Prints a failed check and throws std::exception.
 * @param pExpression text of the expression that does not hold
 * @param pDetail text for printf, with what it takes
 */
[[noreturn]] void failCheck(const char *pExpression, const char *pDetail, ...) __attribute__((format(printf, 2, 3)));

/*
 * Callbacks of a walk. Each throws when a check fails. The context must be null where nothing else is said.
 */

/** First reading: adds the item. */
void addItem(void *context, cah_item_s *cahItem);
/** First reading: adds the file to the last item. */
void addFile(void *context, const char *pDirName, const char *pFileName);

/** Backward reading: the item must be the one at `gIdx`, which then moves on. */
void verifyItemForward(void *context, cah_item_s *cahItem);
/** Backward reading: the file must be one of the item before `gIdx`. The context is not looked at. */
void verifyFileBefore(void *context, const char *pDirName, const char *pFileName);

/** Reading one by one: the item must be the one at `gIdx`. */
void verifyItem(void *context, cah_item_s *cahItem);
/** Reading one by one: the file must be one of the item at `gIdx`. The context is not looked at. */
void verifyFile(void *context, const char *pDirName, const char *pFileName);

#endif
