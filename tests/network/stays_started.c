/* A host program that stays started: for each line of its input it scans over every adapter and
 * prints what came of it. */
#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <stdio.h>
#include <string.h>

static ZEL_SegmentArray segment;
static char adapters[65536];
static uint64_t length = 0;

static void show_state(void)
{
    printf("%u modules, adapters '%s'", segment.count, adapters);
}

int main(void)
{
    char line[16];
    GIVES(1, ZEL_Init());
    while (fgets(line, sizeof line, stdin)) {
        GIVES(ZEL_OK, ZEL_XCOM_ScanEthSegment(ZEL_ALL_ADAPTERS, &segment));
        GIVES(ZEL_OK, ZEL_XCOM_GetNetAdapter(adapters, &length, sizeof adapters));
        HOLDS(length == strlen(adapters));
        printf("found %u\n", segment.count);
        fflush(stdout);
    }
    ZEL_Unload();
    return finish("ended well");
}
