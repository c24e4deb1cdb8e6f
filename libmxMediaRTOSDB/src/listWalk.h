/**
 * @file listWalk.h
 * The walk through the database's listing, page by page and item by item. Every failed exchange makes the document
 * begin anew, until the retries are used up. What becomes of the items is the document's.
 */
#ifndef LIST_WALK_H
#define LIST_WALK_H

#include <sys/time.h>

#include "cardIdentity.h"
#include "chapterGroup.h"
#include "rtosConnection.h"

struct listWalk;

/** What tells one kind of document from another. */
struct listDocument {
    /** Throws away what stands so far. */
    void (*restart)(listWalk *pWalk);
    /** Ends the open block, if `blockOpen` is set, and begins the one of a directory. */
    void (*openBlock)(listWalk *pWalk, const char *pDirName);
    /** Writes an item that is to be shown. @param pChapters read for a group of chapters only */
    void (*writeEntry)(listWalk *pWalk, const listEntry *pEntry, const chapterAnswer *pChapters);
    bool refusalEndsPage;           ///< whether a refused text ends the page at once, or only the walk at its end
    const char *pCallName;          ///< name under which the options of each request are logged, or null
    bool chapterNamesAreLogged;     ///< whether the names that are built for chapters are logged
    const char *pChapterExitPrefix; ///< in front of the line that a failed send about chapters ends the walk with
};

/** `pagesMax` of a walk that ends with the listing only. */
enum { LIST_WALK_ALL_PAGES = -1 };

/** One walk, from its construction to its destruction. */
struct listWalk {
    const listDocument *pDocument;
    void *pContext; ///< the document's own

    uint32_t itemsPerPage;
    uint32_t startIndex;   ///< where the walk begins, and begins anew
    uint32_t listOptions;  ///< `DB_LIST_OPTION_...` of each request
    uint32_t queryOptions; ///< `RTOS_DB_QUERY_...` of each request, and of the check of each item
    int pagesMax;          ///< pages asked for at most, in vain too; or `LIST_WALK_ALL_PAGES`

    int status;                 ///< status of the answer
    char cardId[CARD_ID_BYTES]; ///< identity of the card; "0" when it is not known
    timeval start;              ///< when the walk was constructed
    rtosConnection connection;  ///< the walk's own
    bool connected;             ///< `connection` is open
    uint32_t runningIndex;      ///< index of the next item to ask for
    uint32_t totalEntries;      ///< as the latest page told
    int retryCount;             ///< times begun anew so far; a success does not give them back
    bool blockOpen;             ///< the block of `currentDirectory` is open
    char currentDirectory[DB_DIR_NAME_BYTES];
    bool pageCame;                          ///< a page was received since the walk began or last began anew
    uint8_t response[DB_MESSAGE_MAX_BYTES]; ///< the page in hand
    chapterAnswer chapters;                 ///< the chapters of the item in hand
};

/**
 * Constructs a walk: notes the time and opens the connection. The status is 200, or 500 without a connection. Where the
 * walk goes, and the card's identity, are left to the caller.
 */
void listWalkCtor(listWalk *pWalk, const listDocument *pDocument, void *pContext);

/** Closes the connection, if it is open. */
void listWalkDtor(listWalk *pWalk);

/** Walks while the status is 200. A status other than 200 afterwards is a failure. */
void walkList(listWalk *pWalk);

#endif
