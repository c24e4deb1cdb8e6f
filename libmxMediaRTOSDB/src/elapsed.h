/**
 * @file elapsed.h
 * How long a call took.
 */
#ifndef ELAPSED_H
#define ELAPSED_H

#include <sys/time.h>

/** A time span as the log lines print it. */
struct elapsedTime {
    unsigned long seconds;
    unsigned long microseconds; ///< below 1,000,000
};

/** The clock now. */
inline timeval timeNow()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return now;
}

/** The time from `start` until now. */
inline elapsedTime elapsedSince(timeval start)
{
    timeval end = timeNow();
    if (end.tv_usec < start.tv_usec) {
        end.tv_usec += 1000000;
        end.tv_sec -= 1;
    }
    return {static_cast<unsigned long>(end.tv_sec - start.tv_sec),
            static_cast<unsigned long>(end.tv_usec - start.tv_usec)};
}

#endif
