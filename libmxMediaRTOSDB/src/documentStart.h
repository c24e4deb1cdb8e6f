/**
 * @file documentStart.h
 * What documents do before they ask the database.
 */
#ifndef DOCUMENT_START_H
#define DOCUMENT_START_H

#include "cardIdentity.h"
#include "rtosConnection.h"

/**
 * Reads the card's identity, and logs nothing.
 * @param cardId receives the identity; "0" when there is none
 * @return whether there is one
 */
bool readCardID(char (&cardId)[CARD_ID_BYTES]);

/**
 * Reads the card's identity for a document.
 * @param cardId as readCardID, but that there is none is logged
 * @param status status of the document so far
 * @return `status`, or 404 when there is no identity, whatever `status` was
 */
int documentCardID(char (&cardId)[CARD_ID_BYTES], int status);

/**
 * Opens a document's connection, then reads the card's identity, also after a failed opening. Failures are logged.
 * @param pRtosConn to be given to rtosConnectionDtor whatever the result
 * @return 200, 500 without a connection, 404 without an identity
 */
int documentConnect(rtosConnection *pRtosConn, char (&cardId)[CARD_ID_BYTES]);

#endif
