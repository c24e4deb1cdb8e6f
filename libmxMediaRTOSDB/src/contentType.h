/**
 * @file contentType.h
 * Families of content types. A type comes from the wire: any value can stand in it.
 */
#ifndef CONTENT_TYPE_H
#define CONTENT_TYPE_H

#include "mxMediaRTOSDB.h"

/** Whether items of the type are videos, of one file or of several. */
inline bool isVideoType(db_content_type type)
{
    return type >= DB_CONTENT_TYPE_SINGLE_VIDEO && type <= DB_CONTENT_TYPE_TIME_LAPSE_VIDEO;
}

/** Whether items of the type are groups of files. */
inline bool isGroupType(db_content_type type)
{
    switch (type) {
    case DB_CONTENT_TYPE_LOOPED_VIDEO:
    case DB_CONTENT_TYPE_CHAPTERED_VIDEO:
    case DB_CONTENT_TYPE_BURST_PHOTO:
    case DB_CONTENT_TYPE_TIME_LAPSE_PHOTO:
    case DB_CONTENT_TYPE_NIGHT_LAPSE_PHOTO:
    case DB_CONTENT_TYPE_CONTINUOUS_PHOTO:
        return true;
    default:
        return false;
    }
}

#endif
