/**
 * @file listEntryText.h
 * The text of one entry of a list: an object with its keys, or for a group of chapters one object for each file.
 */
#ifndef LIST_ENTRY_TEXT_H
#define LIST_ENTRY_TEXT_H

#include "chapterGroup.h"
#include "fieldMask.h"
#include "mxMediaDBOutput.h"

/** How a photo group tells of the members with highlights. */
enum memberHighlights {
    MEMBER_HIGHLIGHTS_AS_MAP,  ///< "ghc" is a map of their numbers; without any the key is not there
    MEMBER_HIGHLIGHTS_AS_ARRAY ///< "ghc" is their count, "ghi" the array of their numbers
};

/** Where the text of an entry goes and what stands in it. */
struct listEntryText {
    mxMediaDBOutput *pOutput;
    outputBuffer buffer;
    uint32_t whitelistMask; ///< `FIELD_...`
    memberHighlights memberStyle;
    int *pStatus;      ///< set to 500 by a refusal; the rest of the entry is tried nevertheless
    bool objectStands; ///< an object stands in front, so that the next begins with ","; kept up to date by the writer
};

/**
 * Writes an entry. An object without keys is left out.
 * @param pChapters the answer about a group of chapters; read for that kind only
 */
void writeListEntry(listEntryText *pText, const listEntry *pEntry, const chapterAnswer *pChapters);

#endif
