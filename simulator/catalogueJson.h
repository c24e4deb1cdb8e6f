/**
 * @file catalogueJson.h
 * catalogue.json, which tells of a card's files what the files themselves can't tell: see rtosMediaDBSim(1).
 */
#ifndef CATALOGUE_JSON_H
#define CATALOGUE_JSON_H

#include <stdexcept>
#include <string_view>

#include "cardScan.h"

namespace sim
{

/** A catalogue that can't be made: file, key and reason in one line. */
struct CatalogueError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/**
 * Enters what a text in the form of catalogue.json tells.
 * @param files the card's files; half changed after a throw
 * @param missingAllowed true: what is told of files that are not on the card is passed over
 * @throws CatalogueError for broken JSON, an unknown key, a key given twice, an impossible value, a file not there
 */
void applyCatalogueJson(std::string_view text, CardFiles &files, bool missingAllowed);

} // namespace sim

#endif
