/**
 * @file options.h
 * The command line of rtosMediaDBSim.
 */
#ifndef OPTIONS_H
#define OPTIONS_H

#include <ostream>
#include <string>

#include "faults.h"

namespace sim
{

/** What the command line asks for. */
struct Options {
    std::string card = "/tmp/fuse_d";
    std::string replay; ///< empty: the card is served
    bool help = false;
    bool makeCard = false;
    uint32_t items = 0; ///< of the card that is laid out, at least
    FaultSettings faults;
};

/** Reads the command line. False: it is wrong, and standard error says what. */
bool readOptions(int count, char *arguments[], Options &options);

/** Prints what --help is asked for. */
void printHelp(std::ostream &out);

} // namespace sim

#endif
