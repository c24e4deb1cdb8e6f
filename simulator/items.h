/**
 * @file items.h
 * The items that a card's files make up, in the order of the listing.
 *
 * Which files make an item, each file being part of exactly one:
 * - "Ggggnnnn.JPG": a group of photos with the group number ggg and the members nnnn, a burst unless told otherwise.
 * - "Ggggnnnn.MP4": a looped video with the group number ggg and the members nnnn.
 * - "MOXEnnnn.MP4" with chapters "MXccnnnn.MP4" (cc from 01): a chaptered video with the group number nnnn, whose
 *   member 0 is the first file and whose members cc are the chapters. Without its first file a chapter is an item of
 *   its own.
 * - Any other MP4 or JPG file: one item, a single video or a single photo unless told otherwise.
 * - A MET file that is told to be a metadata session: one item. The card scan of the consistency check does not look
 *   at such a file, which fits a listing that leaves metadata sessions out.
 *
 * Group and members stand in one folder. A group whose numbers span more than `maxSpan` is cut into several items, so
 * that a record with its masks fits a message and the usual buffers of 128 bytes for a mask.
 *
 * An item is named by its first file. Items are ordered by folder, then by that name.
 */
#ifndef ITEMS_H
#define ITEMS_H

#include <array>

#include "cardScan.h"

namespace sim
{

using Gumi = std::array<uint8_t, DB_GUMI_BYTES>;

/** Most numbers from a group's first to its last member. */
constexpr uint32_t maxSpan = 1024;

/** GUMI of the item with a path as first file: always the same for the same path. */
Gumi gumiOf(std::string_view path);

/** One item. */
struct Item {
    db_content_type type = DB_CONTENT_TYPE_SINGLE_VIDEO;
    /**
     * The item as if it were one file: facts of the first file, but size, duration and LRV size summed, and the
     * highlights of all files. Of a photo group these are the numbers of the members that have any.
     */
    MediaFile whole;
    std::vector<MediaFile> files; ///< by rising number
    Gumi gumi{};
    db_group_content_info group{};      ///< zeros unless the item is a group
    std::vector<uint8_t> missingMask;   ///< whole words, as sent; empty when no member is missing
    std::vector<uint8_t> highlightMask; ///< the same; empty for no group and when there are no highlights

    std::string path() const
    {
        return whole.path();
    }
};

/** Tells whether items of a type are videos. */
bool isVideo(db_content_type type);

/** Tells whether items of a type have a group record. */
bool isGroup(db_content_type type);

/**
 * Makes items of a card's files, in the order of the listing.
 * @throws CatalogueError when a file is told to be of a kind that its name rules out
 */
std::vector<Item> makeItems(const CardFiles &files);

} // namespace sim

#endif
