/**
 * @file chapterGroup.h
 * Asking the database about the files of a chaptered or looped video.
 */
#ifndef CHAPTER_GROUP_H
#define CHAPTER_GROUP_H

#include "listEntry.h"
#include "listExchange.h"

/** The records of one video file. */
struct videoFile {
    const db_content_info *pInfo;
    const db_video_specific_info *pVideo;
    const uint8_t *pHighlights; ///< the video record's `highlight_count` values
};

/** The answer about one group. Its records stand in the response and were received whole. */
struct chapterAnswer {
    uint32_t count;                         ///< records; 0 when no file of the group exists, and nothing was asked
    wireCursor records;                     ///< at the first record
    uint8_t response[DB_MESSAGE_MAX_BYTES]; ///< undefined behind what was received
};

/**
 * Asks for all files of a group: the first by the name of the item, the others by names that are built. Files beyond
 * `DB_FILE_REQUEST_MAX_FILES`, and files from the first number on that is too wide for a name, are left out with a
 * warning.
 * @param pEntry of the kind `ITEM_CHAPTER_GROUP`
 * @param namesAreLogged whether the missing mask and the built names are logged
 */
listFailure askForChapters(mxIpcHandle *pHandle, const listEntry *pEntry, bool namesAreLogged, chapterAnswer *pAnswer);

/** Takes the next file of an answer. @return false when its records were not received whole */
bool takeVideoFile(wireCursor *pCursor, videoFile *pRecord);

#endif
