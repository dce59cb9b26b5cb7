/* What the host programs in C check with. Each says by show_state() what it has worked on. */
#ifndef ZEL_TEST_HOST_CHECK_H
#define ZEL_TEST_HOST_CHECK_H

#include <stdint.h>
#include <stdio.h>

static int failures = 0;

static void show_state(void);

static void expect(int holds, const char* what, int32_t result, int line)
{
    if (holds)
        return;
    ++failures;
    printf("line %d: %s gave %d, ", line, what, (int)result);
    show_state();
    printf("\n");
}

/* The call's result must be the expected one. */
#define GIVES(expected, call)                                                                      \
    do {                                                                                           \
        const int32_t result_ = (call);                                                            \
        expect(result_ == (expected), #call, result_, __LINE__);                                   \
    } while (0)
#define HOLDS(condition) expect((condition), #condition, 0, __LINE__)

static int finish(const char* success)
{
    printf("%s\n", failures == 0 ? success : "FAILED");
    return failures != 0;
}

#endif
