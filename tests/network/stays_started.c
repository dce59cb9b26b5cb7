/* A host program that stays started: for each line of its input it connects to an address, reads
 * from a module or, when the line says neither, scans over every adapter; it prints what came of
 * it. */
#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <inttypes.h>
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
    char line[64];
    char word[64];
    uint64_t uuid = 0;
    GIVES(1, ZEL_Init());
    while (fgets(line, sizeof line, stdin)) {
        if (sscanf(line, "connect %63s", word) == 1)
            printf("%d\n", (int)ZEL_XCOM_ConnectToTcpIpDev(word, 55000, &uuid));
        else if (sscanf(line, "read %" SCNu64, &uuid) == 1)
            printf("%d\n", (int)ZEL_XPAR_ReadPar(uuid, 1, "System", "Name", word, &length, 64));
        fflush(stdout);
        if (line[0] == 'c' || line[0] == 'r')
            continue;
        GIVES(ZEL_OK, ZEL_XCOM_ScanEthSegment(ZEL_ALL_ADAPTERS, &segment));
        GIVES(ZEL_OK, ZEL_XCOM_GetNetAdapter(adapters, &length, sizeof adapters));
        HOLDS(length == strlen(adapters));
        printf("found %u\n", segment.count);
        fflush(stdout);
    }
    ZEL_Unload();
    return finish("ended well");
}
