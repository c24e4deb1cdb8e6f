/**
 * @file mxipc.c
 * Stand-in for the IPC transport: a Unix-domain socket named after the channel, whose message borders are the
 * kernel's.
 *
 * A connection serves one exchange. The next send on the handle connects anew, so that an answer which comes late,
 * twice or unasked has nowhere to arrive, and a database that was started again is found. Each call has one deadline
 * for all that it waits for; the environment variable MXIPC_TIMEOUT_MS sets how far off it is.
 */
#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#pragma GCC visibility push(default)
#include "mxipc.h"
#pragma GCC visibility pop
#include "rendezvous.h"

enum {
    MESSAGE_MAX_BYTES = 1500,
    TIMEOUT_DEFAULT_MS = 5000,
    TIMEOUT_MAX_MS = 3600000,
    CHANNELS_MAX = 8, /**< channels that one process can name during its life */
};

/** A full backlog cannot be polled; it is tried again after this long. */
#define CONNECT_PAUSE_NS INT64_C(2000000)

/*
 * An open handle holds no pointer, so there is nothing to free behind a caller that forgets one:
 * word 0 is the descriptor plus one, 0 while there is no connection;
 * word 1 is the number of the channel, from 1, and the flag that an answer is due.
 */
#define ANSWER_DUE UINT32_C(0x80000000)

/** The names that handles refer to. An entry, once written, stays as it is, and is read without the lock. */
static char channelNames[CHANNELS_MAX][RENDEZVOUS_PATH_BYTES];
static pthread_mutex_t channelLock = PTHREAD_MUTEX_INITIALIZER;

/** Gives the number of the channel, from 1, or 0 if there is no room for its name. */
static uint32_t channelNumber(const char *pName)
{
    uint32_t number = 0;
    pthread_mutex_lock(&channelLock);
    for (uint32_t i = 0; i < CHANNELS_MAX && number == 0; i++) {
        if (channelNames[i][0] == '\0') {
            // The name fits: as the end of a longer path it has been connected to.
            strncpy(channelNames[i], pName, RENDEZVOUS_PATH_BYTES - 1);
        }
        if (strcmp(channelNames[i], pName) == 0) {
            number = i + 1;
        }
    }
    pthread_mutex_unlock(&channelLock);
    return number;
}

/** Nanoseconds of the monotonic clock. */
static int64_t now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (int64_t)time.tv_sec * 1000000000 + time.tv_nsec;
}

static int64_t nextDeadline(void)
{
    const char *pText = getenv("MXIPC_TIMEOUT_MS");
    char *pEnd = NULL;
    long milliseconds = pText != NULL ? strtol(pText, &pEnd, 10) : 0;
    if (milliseconds < 1 || milliseconds > TIMEOUT_MAX_MS || *pEnd != '\0') {
        milliseconds = TIMEOUT_DEFAULT_MS;
    }
    return now() + (int64_t)milliseconds * 1000000;
}

/** Waits for `events`. Gives what has come of them and of failures, or a negative errno. */
static int waitUntil(int64_t deadline, int descriptor, short events)
{
    struct pollfd entry = {.fd = descriptor, .events = events};
    for (;;) {
        int64_t left = deadline - now();
        left = left > 0 ? left : 0;
        struct timespec span = {.tv_sec = left / 1000000000, .tv_nsec = left % 1000000000};
        int count = ppoll(&entry, 1, &span, NULL);
        if (count > 0) {
            return entry.revents;
        }
        if (count < 0 && errno != EINTR) {
            return -errno;
        }
        if (left == 0) {
            return -ETIMEDOUT;
        }
    }
}

static int connectUntil(int64_t deadline, int descriptor, const struct sockaddr_un *pAddress)
{
    while (connect(descriptor, (const struct sockaddr *)pAddress, sizeof *pAddress) != 0) {
        if (errno != EAGAIN && errno != EINTR) {
            return -errno;
        }
        int64_t left = deadline - now();
        if (left <= 0) {
            return -ETIMEDOUT;
        }
        struct timespec pause = {.tv_nsec = left < CONNECT_PAUSE_NS ? left : CONNECT_PAUSE_NS};
        nanosleep(&pause, NULL);
    }
    return 0;
}

/** Gives the descriptor of a new connection, or a negative errno. */
static int openConnection(int64_t deadline, const char *pChannelName)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    int result = rendezvousPath(pChannelName, address.sun_path, sizeof address.sun_path);
    if (result < 0) {
        return result;
    }
    int descriptor = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return -errno;
    }
    result = connectUntil(deadline, descriptor, &address);
    if (result < 0) {
        close(descriptor);
        return result;
    }
    return descriptor;
}

static bool isOpen(const mxIpcHandle *pHandle)
{
    uint32_t channel = pHandle != NULL ? pHandle->word[1] & ~ANSWER_DUE : 0;
    return channel >= 1 && channel <= CHANNELS_MAX && channelNames[channel - 1][0] != '\0';
}

static int connectionOf(const mxIpcHandle *pHandle)
{
    return (int)pHandle->word[0] - 1;
}

static void dropConnection(mxIpcHandle *pHandle)
{
    if (pHandle->word[0] != 0) {
        close(connectionOf(pHandle));
    }
    pHandle->word[0] = 0;
    pHandle->word[1] &= ~ANSWER_DUE;
}

/** Leaves the handle with a connection that owes no answer and holds none, or gives a negative errno. */
static int requireFreshConnection(int64_t deadline, mxIpcHandle *pHandle)
{
    if (pHandle->word[0] != 0 && (pHandle->word[1] & ANSWER_DUE) == 0 &&
        waitUntil(0, connectionOf(pHandle), POLLIN | POLLRDHUP) == -ETIMEDOUT) {
        return 0;
    }
    dropConnection(pHandle);
    int descriptor = openConnection(deadline, channelNames[pHandle->word[1] - 1]);
    if (descriptor < 0) {
        return descriptor;
    }
    pHandle->word[0] = (uint32_t)descriptor + 1;
    return 0;
}

static int sendUntil(int64_t deadline, int descriptor, const void *pMessage, size_t length)
{
    while (send(descriptor, pMessage, length, MSG_NOSIGNAL) < 0) {
        if (errno != EAGAIN && errno != EINTR) {
            return -errno;
        }
        int events = waitUntil(deadline, descriptor, POLLOUT);
        if (events < 0) {
            return events;
        }
    }
    return 0;
}

static int receiveUntil(int64_t deadline, int descriptor, void *pBuffer)
{
    for (;;) {
        int events = waitUntil(deadline, descriptor, POLLIN | POLLRDHUP);
        if (events < 0) {
            return events;
        }
        // With MSG_TRUNC the result is the length that the message had, not the part of it that fitted.
        ssize_t length = recv(descriptor, pBuffer, MESSAGE_MAX_BYTES, MSG_TRUNC);
        if (length > MESSAGE_MAX_BYTES) {
            return -EMSGSIZE;
        }
        // Nothing was read: an empty message, unless the peer had hung up before.
        if (length == 0 && (events & (POLLRDHUP | POLLHUP)) != 0) {
            return -ECONNRESET;
        }
        if (length >= 0) {
            return (int)length;
        }
        if (errno != EAGAIN && errno != EINTR) {
            return -errno;
        }
    }
}

int mxIpcInit(const char *pChannelName, mxIpcHandle *pHandle)
{
    if (pChannelName == NULL || pHandle == NULL) {
        return -EINVAL;
    }
    memset(pHandle, 0, sizeof *pHandle);
    int descriptor = openConnection(nextDeadline(), pChannelName);
    if (descriptor < 0) {
        return descriptor;
    }
    uint32_t channel = channelNumber(pChannelName);
    if (channel == 0) {
        close(descriptor);
        return -ENFILE;
    }
    pHandle->word[0] = (uint32_t)descriptor + 1;
    pHandle->word[1] = channel;
    return 0;
}

int mxIpcSend(mxIpcHandle *pHandle, const void *pMessage, int length)
{
    if (!isOpen(pHandle) || length < 0 || length > MESSAGE_MAX_BYTES || (pMessage == NULL && length > 0)) {
        return -EINVAL;
    }
    int64_t deadline = nextDeadline();
    int result = requireFreshConnection(deadline, pHandle);
    if (result < 0) {
        return result;
    }
    result = sendUntil(deadline, connectionOf(pHandle), pMessage, (size_t)length);
    if (result < 0) {
        dropConnection(pHandle);
        return result;
    }
    pHandle->word[1] |= ANSWER_DUE;
    return 0;
}

int mxIpcReceive(mxIpcHandle *pHandle, void *pBuffer)
{
    if (!isOpen(pHandle) || pBuffer == NULL) {
        return -EINVAL;
    }
    if ((pHandle->word[1] & ANSWER_DUE) == 0) {
        return -ENOTCONN;
    }
    int length = receiveUntil(nextDeadline(), connectionOf(pHandle), pBuffer);
    dropConnection(pHandle);
    return length;
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    if (pHandle != NULL) {
        dropConnection(pHandle);
        memset(pHandle, 0, sizeof *pHandle);
    }
}
