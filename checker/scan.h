/**
 * @file scan.h
 * The scan of the card's media folders, which knows nothing of the database.
 */
#ifndef SCAN_H
#define SCAN_H

#include <cstddef>
#include <cstdint>

/** Results of a scan. */
enum {
    SCANDIR_NO_ERROR = 0,
    SCANDIR_ERROR_OPEN = 4,   ///< the media tree can't be read, or there is no memory
    SCANDIR_ERROR_STOPPED = 8 ///< the platform asked for a stop
};

enum {
    SCAN_MAGIC = 0x1337,
    SCAN_VERSION = 2,
    SCAN_MAX_ENTRIES = 40000, ///< files that a scan lists; all others are dropped
    SCAN_NAME_BYTES = 13      ///< a file name and its terminating zero
};

/** Head of a scan's result; the entries follow at once. */
struct __attribute__((packed)) mxml_scan_header {
    uint16_t magic;   ///< SCAN_MAGIC
    uint8_t version;  ///< SCAN_VERSION
    uint8_t reserved; ///< 0
    uint32_t count;   ///< entries that follow
};
static_assert(offsetof(mxml_scan_header, count) == 4);
static_assert(sizeof(mxml_scan_header) == 8);

/** One media file on the card. */
struct __attribute__((packed)) mxml_scan_entry {
    uint16_t dir_number;        ///< number of the folder, 100 to 999
    char dir_type;              ///< kind of the folder, as in `scanFolderKinds`
    char name[SCAN_NAME_BYTES]; ///< 12 characters and a terminating zero
    uint32_t size;              ///< bytes, the low 32 bits
    uint32_t mtime;             ///< last modification, seconds since the epoch
};
static_assert(offsetof(mxml_scan_entry, name) == 3);
static_assert(offsetof(mxml_scan_entry, size) == 16);
static_assert(sizeof(mxml_scan_entry) == 24);

/** Size of a scan's result, however many entries it holds. */
enum { SCAN_BLOCK_BYTES = sizeof(mxml_scan_header) + SCAN_MAX_ENTRIES * sizeof(mxml_scan_entry) };
static_assert(SCAN_BLOCK_BYTES == 960008);

/** A kind of media folder. */
struct scanFolderKind {
    const char *pSuffix; ///< the five characters behind the folder's number
    char type;           ///< `dir_type` of its files
};

/** The kinds of media folders that there are. */
inline constexpr scanFolderKind scanFolderKinds[] = {{"MOXEL", 'G'}, {"M3D_R", 'R'}, {"M3D_L", 'L'}};

extern "C" {

/**
 * Lists the media files in the media folders directly under "DCIM/" on the card, in the order in which the folders
 * hold them. What can't be read below "DCIM/" is passed over. The platform is asked at most twice a second whether the
 * scan must stop; once it said so during a scan, no scan of this process goes on.
 * @param ppResult receives the block, to be freed with free(): on SCANDIR_NO_ERROR, and with the files found so far
 *        when a stop came during the scan, or during an earlier one of the process and is over by now. Else untouched,
 *        and nothing is left to be freed.
 * @param pCount receives the number of entries, on SCANDIR_NO_ERROR only
 * @return `SCANDIR_...`
 */
int mxml_scandir(mxml_scan_header **ppResult, uint32_t *pCount);

} // extern "C"

#endif
