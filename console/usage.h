/**
 * @file usage.h
 * What the console says of itself.
 */
#ifndef USAGE_H
#define USAGE_H

/** Prints when the program was built, the version of the database that it is built for, and where it sends to. */
void printBanner();

/** Prints the banner and the usage text. */
void printUsage();

#endif
