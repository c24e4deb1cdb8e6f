/**
 * @file contentType.h
 * The table of content types: what each of them means. A type comes from the wire: any value can stand in it.
 */
#ifndef CONTENT_TYPE_H
#define CONTENT_TYPE_H

#include <cstdint>
#include <iterator>

#include "mxMediaRTOSDB.h"

/** What the items of a type are, and so which records tell of them. */
enum itemKind {
    ITEM_OTHER,        ///< nothing that goes by its content type
    ITEM_VIDEO,        ///< a video of one file
    ITEM_PHOTO,        ///< a photo of one file
    ITEM_METADATA,     ///< a file of a metadata session
    ITEM_PHOTO_GROUP,  ///< photos; one entry of a document stands for them all
    ITEM_CHAPTER_GROUP ///< a video of several files, each with its own entry of a document
};

/** One content type. */
struct contentTypeRow {
    itemKind kind;
    uint32_t queryBit; ///< the `RTOS_DB_QUERY_...` bit that selects items of this type
    char groupLetter;  ///< letter of a photo group's type
};

/** The types that there are, each at its own index. */
inline constexpr contentTypeRow contentTypes[] = {
    {ITEM_VIDEO, RTOS_DB_QUERY_VIDEOS, 0},                    // single video
    {ITEM_CHAPTER_GROUP, RTOS_DB_QUERY_VIDEOS, 0},            // looped video
    {ITEM_CHAPTER_GROUP, RTOS_DB_QUERY_VIDEOS, 0},            // chaptered video
    {ITEM_VIDEO, RTOS_DB_QUERY_VIDEOS, 0},                    // time lapse video
    {ITEM_PHOTO, RTOS_DB_QUERY_PHOTOS, 0},                    // single photo
    {ITEM_PHOTO_GROUP, RTOS_DB_QUERY_PHOTOS, 'b'},            // burst
    {ITEM_PHOTO_GROUP, RTOS_DB_QUERY_PHOTOS, 't'},            // time lapse
    {ITEM_METADATA, RTOS_DB_QUERY_METADATA_SESSION_FILES, 0}, // metadata session
    {ITEM_PHOTO_GROUP, RTOS_DB_QUERY_PHOTOS, 'n'},            // night lapse
    {ITEM_PHOTO, RTOS_DB_QUERY_PHOTOS, 0},                    // night photo
    {ITEM_PHOTO_GROUP, RTOS_DB_QUERY_PHOTOS, 'c'},            // continuous photos
    {ITEM_OTHER, 0, 0},                                       // raw photo
};
static_assert(std::size(contentTypes) == DB_CONTENT_TYPE_RAW_PHOTO + 1);

/** Whether there is such a type. */
inline bool isContentType(db_content_type type)
{
    return static_cast<uint32_t>(type) < std::size(contentTypes);
}

/** The row of a type. A type that there is not counts as one of `ITEM_OTHER` that no query selects. */
inline contentTypeRow contentTypeOf(db_content_type type)
{
    return isContentType(type) ? contentTypes[type] : contentTypeRow{ITEM_OTHER, 0, 0};
}

/** Whether items of the type are videos, of one file or of several. */
inline bool isVideoType(db_content_type type)
{
    const itemKind kind = contentTypeOf(type).kind;
    return kind == ITEM_VIDEO || kind == ITEM_CHAPTER_GROUP;
}

/** Whether items of the type are groups of files. */
inline bool isGroupType(db_content_type type)
{
    const itemKind kind = contentTypeOf(type).kind;
    return kind == ITEM_PHOTO_GROUP || kind == ITEM_CHAPTER_GROUP;
}

#endif
