/**
 * @file cardRoot.h
 * Where the memory card is mounted. The one definition of it is in cardRoot.cpp, which a test program replaces.
 */
#ifndef CARD_ROOT_H
#define CARD_ROOT_H

/** Room for any path on the card. */
enum { CARD_PATH_MAX = 512 };

/** The card's mount point, with a slash at its end. */
const char *cardRoot();

/**
 * Composes a path on the card.
 * @param path receives the path; a path that is too long is cut
 * @param pBelow what stands behind the mount point
 * @return `path`
 */
const char *cardPath(char (&path)[CARD_PATH_MAX], const char *pBelow);

#endif
