/**
 * @file measure.c
 * Runs programs in rounds, one behind the other, and prints what each run cost.
 *
 *     measure ROUNDS <ROWS
 *
 * A row is a line of words parted by blanks: how often in each round, folder of the channel, the card, program and
 * arguments. In a round all rows take turns until each has run as often as it says. A program's standard output is a
 * file in memory, or a pipe when the program's path begins with "|": then only the time to the first output counts.
 * Each run gives a line: row, round, nanoseconds, user time in microseconds, peak memory in KiB, and what the program
 * wrote to file 3.
 *
 * The card is bound to the camera's mount point, so the caller gives this program a mount namespace of its own.
 */
#include <fcntl.h>
#include <spawn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { ROWS_MAX = 100, WORDS_MAX = 20 };

struct row {
    int times;
    char *words[WORDS_MAX + 1]; /**< times, folder, card, program, arguments */
};

extern char **environ;

static int64_t now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (int64_t)time.tv_sec * 1000000000 + time.tv_nsec;
}

static void require(int good, const char *pWhat)
{
    if (!good) {
        perror(pWhat);
        exit(1);
    }
}

static int readRows(struct row *pRows)
{
    static char lines[ROWS_MAX][1000];
    int count = 0;
    while (count < ROWS_MAX && fgets(lines[count], sizeof lines[count], stdin) != NULL) {
        int words = 0;
        for (char *pWord = strtok(lines[count], " \n"); pWord != NULL && words < WORDS_MAX;
             pWord = strtok(NULL, " \n")) {
            pRows[count].words[words++] = pWord;
        }
        require(words > 3, "a row is too short");
        pRows[count].times = atoi(pRows[count].words[0]);
        count++;
    }
    return count;
}

static void bindCard(const char *pCard)
{
    static const char *pBound;
    if (pBound == NULL || strcmp(pBound, pCard) != 0) {
        if (pBound != NULL) {
            require(umount("/tmp/fuse_d") == 0, "umount");
        }
        require(mount(pCard, "/tmp/fuse_d", NULL, MS_BIND, NULL) == 0, "mount");
        pBound = pCard;
    }
}

static void run(int number, const struct row *pRow, int round, int file)
{
    const int toPipe = pRow->words[3][0] == '|';
    char *pProgram = pRow->words[3] + toPipe;
    int output[2];
    int note[2];
    char text[32] = "0";
    bindCard(pRow->words[2]);
    setenv("MXIPC_DIR", pRow->words[1], 1);
    require(pipe2(output, O_CLOEXEC) == 0 && pipe2(note, O_CLOEXEC) == 0, "pipe");

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (toPipe) {
        posix_spawn_file_actions_adddup2(&actions, output[1], 1);
    } else {
        // What the last run printed goes before the clock starts.
        require(ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0, "output");
        posix_spawn_file_actions_adddup2(&actions, file, 1);
    }
    posix_spawn_file_actions_adddup2(&actions, note[1], 3);

    pid_t child;
    int status;
    struct rusage usage;
    char byte;
    const int64_t start = now();
    require(posix_spawn(&child, pProgram, &actions, NULL, pRow->words + 3, environ) == 0, pProgram);
    close(output[1]);
    close(note[1]);
    if (toPipe) {
        require(read(output[0], &byte, 1) == 1, "no output");
    }
    int64_t span = now() - start;
    require(wait4(child, &status, 0, &usage) == child, "wait4");
    span = toPipe ? span : now() - start;
    // A status above 127 is a negative result; some commands end with the number of items.
    require(WIFEXITED(status) && WEXITSTATUS(status) < 128, pProgram);
    const ssize_t noted = read(note[0], text, sizeof text - 1);
    printf("%d %d %lld %lld %ld %s\n", number, round, (long long)span,
           (long long)usage.ru_utime.tv_sec * 1000000 + usage.ru_utime.tv_usec, usage.ru_maxrss,
           noted > 0 ? text : "0");
    close(output[0]);
    close(note[0]);
    posix_spawn_file_actions_destroy(&actions);
}

int main(int count, char **arguments)
{
    static struct row rows[ROWS_MAX];
    require(count == 2, "measure ROUNDS <ROWS");
    const int file = memfd_create("output", MFD_CLOEXEC);
    require(file >= 0, "memfd_create");
    const int rounds = atoi(arguments[1]);
    const int rowCount = readRows(rows);
    for (int round = 0; round < rounds; round++) {
        int more = 1;
        for (int turn = 0; more; turn++) {
            more = 0;
            for (int i = 0; i < rowCount; i++) {
                if (turn < rows[i].times) {
                    run(i, &rows[i], round, file);
                    more = 1;
                }
            }
        }
    }
    return 0;
}
