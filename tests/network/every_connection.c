/* A host program in C that calls every export that finds, connects and sets up modules against a
 * simulated module that answers scans.
 *
 *   every_connection ADDRESS MODULES
 *   every_connection SECONDS UUID...     so long at most for modules that are not connected
 */
#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static char text[65536];
static uint64_t length = 0;
static ZEL_SegmentArray segment;

static void show_state(void)
{
    printf("length %llu, '%.600s'", (unsigned long long)length, text);
}

#define INTO text, &length, sizeof text

static void work_without_a_library(void)
{
    const char* data = NULL;
    ZEL_XCOM_DisableZELDevice();
    HOLDS(ZEL_XCOM_GetOwnUUID() != 0 && ZEL_XCOM_GetOwnUUID() != ZEL_NO_MODULE);
    GIVES(ZEL_OK, ZEL_XCOM_DoFirewireScan(text, sizeof text, &length));
    HOLDS(strstr(text, "<SrvParams") != NULL && strlen(text) == length);
    memset(&segment, 0x55, sizeof segment);
    GIVES(ZEL_OK, ZEL_XCOM_ScanFirewireSegment(&segment));
    HOLDS(segment.count == 0 && segment.modules[127].name[3] == '\0');
    GIVES(ZEL_OK, ZEL_XCOM_GetNetAdapter(INTO));
    HOLDS(strstr(text, "<IpAdr>192.168.169.1</IpAdr>") != NULL);
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, ZEL_XCOM_GetNetAdapter(text, &length, 9));
    HOLDS(length == 0);
    GIVES(ZEL_OK, ZEL_XCOM_GetSyncReqrSrvLastErrDat(&data, &length));
    HOLDS(data != NULL && length == 0);
    GIVES(ZEL_OK, ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(4711, &data, &length));
    HOLDS(data != NULL && length == 0);
}

static const ZEL_SegmentModule* find(const char* address, uint32_t count)
{
    const ZEL_SegmentModule* found = segment.modules;
    GIVES(ZEL_OK, ZEL_XCOM_DoNetScan(ZEL_ALL_ADAPTERS, INTO));
    HOLDS(strstr(text, address) != NULL);
    GIVES(ZEL_OK, ZEL_XCOM_ScanEthSegment(ZEL_ALL_ADAPTERS, &segment));
    HOLDS(segment.count == count);
    while (strcmp(found->address, address) != 0 && found < segment.modules + count - 1)
        ++found;
    HOLDS(strcmp(found->address, address) == 0);
    return found;
}

static void set_up(uint64_t uuid)
{
    const char* data = NULL;
    uint64_t kept = 0;
    GIVES(ZEL_OK, ZEL_XCOM_ReadNetSetting(uuid, INTO));
    HOLDS(strstr(text, "<eth0") != NULL);
    GIVES(ZEL_OK, ZEL_XCOM_ReadNetSettings(uuid, INTO));
    HOLDS(strstr(text, "<Network") != NULL);
    GIVES(ZEL_OK, ZEL_XCOM_WriteNetSetting(uuid, text, length));
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, ZEL_XCOM_ReadNetSettings(uuid, text, &length, 9));
    GIVES(ZEL_OK, ZEL_XCOM_GetSyncReqrSrvLastErrDat(&data, &kept));
    HOLDS(kept == length && data[0] == '<' && data[kept - 1] == '>');
    GIVES(ZEL_OK, ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(uuid, &data, &kept));
    HOLDS(kept == length);
    GIVES(ZEL_XCOM_Async_ReadData(4711), ZEL_XCOM_Async_ReadData_Timeout(4711, 1));
}

/* By datagrams, and in one direction only: by the way that the module hears, or that is left. */
static int reach_without_connection(int seconds, int count, char** uuids)
{
    ZEL_Init();
    const time_t start = time(NULL);
    for (int i = 0; i < count; ++i) {
        const uint64_t uuid = strtoull(uuids[i], NULL, 0);
        GIVES(ZEL_OK, ZEL_XCOM_ReadNetSettings(uuid, INTO));
        HOLDS(strstr(text, "<Network") != NULL);
        GIVES(ZEL_OK, ZEL_XCOM_WriteNetSetting(uuid, text, length));
        GIVES(ZEL_OK, ZEL_XSYS_DoRestartSystem(uuid, 0, 1));
    }
    HOLDS(time(NULL) - start <= seconds);
    ZEL_Unload();
    return finish("every module is reached");
}

int main(int argc, char** argv)
{
    const char* const address = argv[1];
    uint64_t uuid = 0;
    if (argc < 3)
        return 2;
    if (strchr(address, '.') == NULL)
        return reach_without_connection(atoi(address), argc - 2, argv + 2);
    work_without_a_library();
    ZEL_Init();
    work_without_a_library();

    const ZEL_SegmentModule* const found = find(address, (uint32_t)atoi(argv[2]));
    const uint16_t port = (uint16_t)found->port;
    GIVES(ZEL_OK, ZEL_XCOM_ConnectToTcpIpDev(found->address, port, &uuid));
    HOLDS(uuid == found->uuid);
    set_up(uuid);
    GIVES(ZEL_OK, ZEL_XCOM_DisconnectFromTcpIpDev(found->address, port));
    GIVES(ZEL_CONN_UNKNOWN_UUID, ZEL_XCOM_Disconnect(uuid));
    GIVES(-1, ZEL_XCOM_DisconnectFromTcpIpDev("not an address", 1));
    GIVES(ZEL_OK, ZEL_XCOM_ConnectToTcpIpDev(found->address, port, &uuid));
    HOLDS(strcmp(ZEL_XUTIL_GetTextFromModule(uuid, ZEL_SYS_NOT_STARTED),
                 ZEL_XUTIL_GetText(ZEL_SYS_NOT_STARTED)) == 0);
    GIVES(ZEL_OK, ZEL_XCOM_Disconnect(uuid));
    ZEL_Unload();
    return finish("every connection is as it should be");
}
