/**
 * @file catalogue.h
 * The catalogue: the items that a card's files make up, in the order of the listing.
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
#ifndef CATALOGUE_H
#define CATALOGUE_H

#include <array>
#include <unordered_map>

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

/** The items, and ways to find them. */
class Catalogue
{
  public:
    /** A file and the item that it belongs to. */
    struct Place {
        size_t item;
        size_t file; ///< index among the item's files; 0 is the first file, which names the item
    };

    explicit Catalogue(std::vector<Item> items = {});

    const std::vector<Item> &items() const
    {
        return items_;
    }
    /** Place of the file with a path, or null. */
    const Place *find(const std::string &path) const;
    /** Item with a GUMI, or null. */
    const Item *find(const Gumi &gumi) const;

    /**
     * Indices of the items that `query_options` select, in order. Bits 8 to 11 name families; with none of the bits 8
     * to 13 every item is selected, and bit 13 without a family selects the metadata sessions. Each of the bits 0 to 2
     * narrows the selection to items with highlights, to clips, to groups. No other bit has a meaning. The work grows
     * with the catalogue only the first time.
     */
    const std::vector<size_t> &selection(uint32_t queryOptions);

    /** A digest of all that answers tell of the items: it changes when one of them does, and survives a restart. */
    uint32_t sessionId() const
    {
        return static_cast<uint32_t>(digest_ ^ digest_ >> 32);
    }
    void setUploadStatus(size_t item, uint32_t status);

  private:
    std::vector<Item> items_;
    std::unordered_map<std::string, Place> byPath_;
    std::unordered_map<std::string, size_t> byGumi_;
    std::array<std::optional<std::vector<size_t>>, 128>
        selections_;      ///< one for each choice of the bits 0 to 2, 8 to 11
    uint64_t digest_ = 0; ///< sum of the items' digests
};

} // namespace sim

#endif
