/* A host program that ends while its threads are still inside the library, and on Linux one whose
 * forked child ends before it. Neither may hang or crash. */

#include "ZEL_VR_Framework.h"

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

enum { THREADS = 16 };

static void* call(void* ignored)
{
    for (;;) {
        uint64_t uuid = 0;
        ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", 1, &uuid);
    }
    return ignored;
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
/* The child has its parent's started library in its memory, without the library's thread. */
static int child_ends_well(int starts_its_own)
{
    int status = -1;
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        if (starts_its_own)
            ZEL_Init();
        else
            ZEL_Unload();
        exit(ZEL_XCOM_Disconnect(1) !=
             (starts_its_own ? ZEL_CONN_UNKNOWN_UUID : ZEL_SYS_NOT_STARTED));
    }
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
#endif

int main(void)
{
    pthread_t threads[THREADS];
    ZEL_Init();
#ifdef __SANITIZE_ADDRESS__
    printf("the address sanitizer does not release at a fork what the parent's threads hold of "
           "its memory: no child is made\n");
#elif !defined(_WIN32)
    int may_start = 1;
#ifdef __SANITIZE_THREAD__
    printf("the thread sanitizer does not follow threads of a forked child: none is started\n");
    may_start = 0;
#endif
    if (!child_ends_well(0) || (may_start && !child_ends_well(1))) {
        printf("FAILED: the child did not end well\n");
        return 1;
    }
#endif
    for (int i = 0; i < THREADS; ++i)
        pthread_create(&threads[i], NULL, call, NULL);
    for (int i = 0; i < 100; ++i) {
        uint64_t uuid = 0;
        ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", 1, &uuid);
    }
    printf("the process ends\n");
    exit(0);
}
