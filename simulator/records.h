/**
 * @file records.h
 * What answers tell of items, as records of the wire.
 */
#ifndef RECORDS_H
#define RECORDS_H

#include "items.h"
#include "message.h"

namespace sim
{

/** Basic record of one of an item's files, or of the whole item when the file is `Item::whole`. */
db_content_info contentInfo(const Item &item, const MediaFile &file);

/** Picture format of a file. */
db_more_info moreInfo(const MediaFile &file);

/** PGUMI of a clip, zeros for any other file. */
Gumi parentGumi(const MediaFile &file);

/**
 * Appends basic record, video record and highlights of a file. The video record of a file that is no video is zeros.
 * @return false: there is no room for all of it, and nothing is appended
 */
bool appendVideo(Message &message, const Item &item, const MediaFile &file);

/** Appends basic record, group record and masks of an item, as appendVideo does. */
bool appendGroup(Message &message, const Item &item);

/** Appends an item's entry of a list response, as appendVideo does. `listOptions` are those that the response echoes.
 */
bool appendEntry(Message &message, const Item &item, uint32_t listOptions);

} // namespace sim

#endif
