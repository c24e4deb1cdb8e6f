/**
 * @file daemonInit.h
 * Making a process a daemon. Part of the interface, without a caller in the console.
 */
#ifndef DAEMON_INIT_H
#define DAEMON_INIT_H

extern "C" {

/**
 * Makes this process a daemon: the parent ends, the child goes on in a session of its own. The standard streams stay
 * open.
 * @param coreDump not 0: core dumps are allowed, and the daemon works in "/tmp/fuse_b/"; 0: it works in "/"
 * @return 0 when the process was a daemon already, -1 when it can't fork, else the result of chdir
 */
int daemon_init_ext(int coreDump);

/** daemon_init_ext without core dumps. */
int daemon_init(void);

} // extern "C"

#endif
