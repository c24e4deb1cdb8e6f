/**
 * @file rendezvous.h
 * Where the stand-ins and the simulated camera meet: one directory of the user's own, in which a channel is a socket
 * named after it. The product knows nothing of it.
 *
 * The directory is the one that the environment variable MXIPC_DIR names; else "mxipc" in XDG_RUNTIME_DIR, if that is
 * a directory of this user; else "/tmp/mxipc-" and the number of the user.
 */
#ifndef RENDEZVOUS_H
#define RENDEZVOUS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Room for every path that can name a socket, its terminating zero included. */
#define RENDEZVOUS_PATH_BYTES 108

/** Name of the file that asks a scan of the card to stop, for as long as it exists. */
#define RENDEZVOUS_STOP_NAME "stop-scan"

/**
 * Composes the path of a name in the directory. Both sides call it: the directory is made (mode 0700) if it is
 * missing, and refused unless it is a real directory that belongs to the effective user and is closed to all others.
 * What the name stands for need not exist and is not looked at.
 * @param pName name without a slash, not empty
 * @param pPath receives the path, zero-terminated; on failure an empty text, if `size` is not 0
 * @param size bytes at `pPath`; `RENDEZVOUS_PATH_BYTES` is enough for whatever a socket can be bound to
 * @return 0, or a negative errno: -EINVAL for a bad name, -ENAMETOOLONG for a path that does not fit, -EPERM for a
 *         directory that is another user's or open to others, -ENOTDIR for what is no directory (a symbolic link to
 *         one included), else the failure of making or looking at it.
 */
int rendezvousPath(const char *pName, char *pPath, size_t size);

#ifdef __cplusplus
}
#endif

#endif
