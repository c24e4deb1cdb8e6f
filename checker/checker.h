/**
 * @file checker.h
 * The check of the database against itself and against the card.
 */
#ifndef CHECKER_H
#define CHECKER_H

#include <cstdint>

extern "C" {

/**
 * Reads the whole catalogue forward, backward and item by item in the order of sizes, holds the three readings against
 * each other, and holds the files of the catalogue against those on the card. Everything is printed to standard
 * output; the first check that fails is printed and ends the run. A media file on the card that the catalogue does not
 * hold is only a warning.
 * @param pageSize items asked for at once in the first two readings; below 1 the check fails
 * @return 0: all checks passed; -1: one failed
 */
int checkConsistency(int32_t pageSize);

} // extern "C"

#endif
