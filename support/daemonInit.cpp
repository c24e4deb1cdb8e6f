#include "daemonInit.h"

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

int daemon_init_ext(int coreDump)
{
    if (getppid() == 1) {
        return 0;
    }
    const pid_t child = fork();
    if (child < 0) {
        return -1;
    }
    if (child > 0) {
        exit(0);
    }
    setsid();

    int ret = 0;
    if (coreDump == 0) {
        ret = chdir("/");
    } else {
        const rlimit limit = {RLIM_INFINITY, RLIM_INFINITY};
        if (setrlimit(RLIMIT_CORE, &limit) < 0) {
            printf("%s: Error: unable to set core limit in order to generate core dump!", __func__);
        }
        ret = chdir("/tmp/fuse_b/");
        printf("%s: Note: Daemon can generate core dump.", __func__);
    }
    umask(0);
    return ret;
}

int daemon_init(void)
{
    return daemon_init_ext(0);
}
