/**
 * @file rendezvous.c
 * Finds, makes and checks the directory in which the stand-ins and the simulated camera meet.
 */
#include "rendezvous.h"

#include <errno.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static bool isOwnDirectory(const char *pPath)
{
    struct stat status;
    return stat(pPath, &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

static int formatDirectory(char *pPath, size_t size)
{
    const char *pNamed = getenv("MXIPC_DIR");
    const char *pRuntime = getenv("XDG_RUNTIME_DIR");
    int length;
    if (pNamed != NULL && pNamed[0] != '\0') {
        length = snprintf(pPath, size, "%s", pNamed);
    } else if (pRuntime != NULL && isOwnDirectory(pRuntime)) {
        length = snprintf(pPath, size, "%s/mxipc", pRuntime);
    } else {
        length = snprintf(pPath, size, "/tmp/mxipc-%u", (unsigned)geteuid());
    }
    if (length < 0 || (size_t)length >= size) {
        return -ENAMETOOLONG;
    }
    // A slash at the end would make lstat look through a symbolic link.
    while (length > 1 && pPath[length - 1] == '/') {
        pPath[--length] = '\0';
    }
    return length;
}

static int requireOwnDirectory(const char *pPath)
{
    struct stat status;
    if (mkdir(pPath, 0700) != 0 && errno != EEXIST) {
        return -errno;
    }
    if (lstat(pPath, &status) != 0) {
        return -errno;
    }
    if (!S_ISDIR(status.st_mode)) {
        return -ENOTDIR;
    }
    if (status.st_uid != geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return -EPERM;
    }
    return 0;
}

static int formatPath(const char *pName, char *pPath, size_t size)
{
    if (pName == NULL || pName[0] == '\0' || strchr(pName, '/') != NULL) {
        return -EINVAL;
    }
    int length = formatDirectory(pPath, size);
    if (length < 0) {
        return length;
    }
    // Looked at before the directory is made: a path that does not fit leaves nothing behind.
    if (strlen(pName) + 2 > size - (size_t)length) {
        return -ENAMETOOLONG;
    }
    int result = requireOwnDirectory(pPath);
    if (result == 0) {
        (void)snprintf(pPath + length, size - (size_t)length, "/%s", pName);
    }
    return result;
}

int rendezvousPath(const char *pName, char *pPath, size_t size)
{
    if (pPath == NULL || size == 0) {
        return -EINVAL;
    }
    int result = formatPath(pName, pPath, size);
    if (result < 0) {
        pPath[0] = '\0';
    }
    return result;
}
