/**
 * @file cardIdentity.h
 * The identity of the memory card, a number in a small file on it.
 */
#ifndef CARD_IDENTITY_H
#define CARD_IDENTITY_H

/** Size of the buffer that receives an identity, in bytes. */
enum { CARD_ID_BYTES = 32 };

extern "C" {

/**
 * Reads the card's identity; a card without one gets a random number, which is stored on it. Failures are told on
 * standard error.
 * @param cardId `CARD_ID_BYTES` bytes; receives the first line of the identity file, with its line feed if it has one.
 * After a failure it holds "0", or the new number if that could not be stored.
 * @return 0, or -1 on a failure
 */
int getCardIDStr(char *cardId);

} // extern "C"

#endif
