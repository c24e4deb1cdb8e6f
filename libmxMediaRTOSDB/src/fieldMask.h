/**
 * @file fieldMask.h
 * The fields of a document, as bits of the mask that says which of them stand.
 */
#ifndef FIELD_MASK_H
#define FIELD_MASK_H

#include <cstdint>

/** Bits of a whitelist mask, by their keys. A set bit allows the field. */
enum : uint32_t {
    FIELD_N = 0x00000001,
    FIELD_MOD = 0x00000002,
    FIELD_CRE = 0x00000004,
    FIELD_S = 0x00000008,
    FIELD_LS = 0x00000010,
    FIELD_CL = 0x00000020,
    FIELD_HC = 0x00000040,
    FIELD_HI = 0x00000080,
    FIELD_GROUP = 0x00000100, ///< all keys of a group
    FIELD_GUMI = 0x00000200,
    FIELD_PGUMI = 0x00000400,
    FIELD_DNE = 0x00000800,
    FIELD_US = 0x00001000,
    FIELD_EIS = 0x00002000,
    FIELD_WDR = 0x00004000,
    FIELD_ZTA = 0x00008000,
    FIELD_AO = 0x00010000,
    FIELD_RAW = 0x00020000,
    FIELD_TR = 0x00040000,
    FIELD_MP = 0x00080000,
    FIELD_DUR = 0x00100000,
    FIELD_WIDTH_HEIGHT = 0x00200000, ///< "w" and "h"
    FIELD_FRAME_RATE = 0x00400000,   ///< "fps" and "fps_denom"
    FIELD_PROG = 0x00800000,
    FIELD_SUBSAMPLE = 0x01000000,
    FIELD_NONE = 0,
    FIELD_ALL = 0xFFFFFFFF,
    FIELD_LEGACY = FIELD_N | FIELD_MOD | FIELD_S | FIELD_LS | FIELD_GROUP
};

#endif
