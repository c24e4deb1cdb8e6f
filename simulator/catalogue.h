/**
 * @file catalogue.h
 * The catalogue: the items of a card, in the order of the listing.
 */
#ifndef CATALOGUE_H
#define CATALOGUE_H

#include <array>
#include <unordered_map>

#include "items.h"

namespace sim
{

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
