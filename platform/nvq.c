/**
 * @file nvq.c
 * Stand-in for the platform's value query: a scan must stop while a file of the agreed name exists where the
 * stand-ins meet.
 */
#include <stdint.h>
#include <unistd.h>

#pragma GCC visibility push(default)
#include "nvq.h"
#pragma GCC visibility pop
#include "rendezvous.h"

int nvq_get(int group, int item, void *pScratch, uint32_t *pValue)
{
    char path[RENDEZVOUS_PATH_BYTES];
    (void)pScratch;
    if (group != NVQ_STOP_GROUP || item != NVQ_STOP_ITEM || pValue == NULL) {
        return -1;
    }
    *pValue = rendezvousPath(RENDEZVOUS_STOP_NAME, path, sizeof path) == 0 && access(path, F_OK) == 0;
    return 0;
}
