/**
 * @file skipBlanks.h
 * Skipping blanks. Part of the interface, without a caller in the console.
 */
#ifndef SKIP_BLANKS_H
#define SKIP_BLANKS_H

extern "C" {

/** First character of a text that is neither blank nor tab; null for a null text and for a text of blanks only. */
const char *skipBlanks(const char *pText);

} // extern "C"

#endif
