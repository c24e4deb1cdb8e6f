/**
 * @file mxdebug.h
 * The platform's debug word, which routes assertions and error reports. The program reads it at any time and never
 * writes it.
 */
#ifndef MXDEBUG_H
#define MXDEBUG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Parts of `g_debug_level`. */
enum {
    MXDEBUG_GATE = 0xFF,           /**< the gate: a number that reports are held against */
    MXDEBUG_GATE_ASSERT = 7,       /**< a gate above this lets assertions report */
    MXDEBUG_GATE_ERROR = 15,       /**< a gate above this lets error reports report */
    MXDEBUG_TO_FILE = 0x20000000,  /**< report to the file on the card */
    MXDEBUG_TO_STDOUT = 0x40000000 /**< report to standard output */
};

/** The debug word, defined by the platform's library. */
extern uint32_t g_debug_level;

#ifdef __cplusplus
}
#endif

#endif
