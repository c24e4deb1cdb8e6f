/**
 * @file sampleCard.h
 * Lays out cards to try things on.
 */
#ifndef SAMPLE_CARD_H
#define SAMPLE_CARD_H

#include <cstdint>
#include <filesystem>

namespace sim
{

/** Most items of a card that makeCard lays out. */
constexpr uint32_t maxSampleItems = 100000;

/**
 * Lays out a card with every content type, all kinds of groups, missing numbers, highlights, clips, metadata sessions
 * and several folders. Sizes, times and catalogue.json are the same each time.
 * @param items items that the card is to have at least. Those beyond the sample's own stand in folders of 500 and bring
 *              the card to four files for each item, which a multiple of four items meets exactly.
 * @throws std::runtime_error when the directory holds a file already, std::system_error when something can't be written
 */
void makeCard(const std::filesystem::path &card, uint32_t items = 0);

} // namespace sim

#endif
