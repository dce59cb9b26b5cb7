/* Connects to a module and prints one of its parameters.
 *
 *   read_parameter [ADDRESS [PORT]]
 */
#include <stdio.h>
#include <stdlib.h>
#include <ZEL_VR_Framework.h>

int main(int argc, char** argv)
{
    const char* const address = argc > 1 ? argv[1] : "192.168.169.20";
    const uint16_t port = argc > 2 ? (uint16_t)atoi(argv[2]) : 55000;
    uint64_t module = 0, length = 0;
    char name[64];

    ZEL_Init();
    int32_t result = ZEL_XCOM_ConnectToTcpIpDev(address, port, &module);
    if (result == ZEL_OK)
        result = ZEL_XPAR_ReadPar(module, 1, "System/Name", "", name, &length, sizeof name);
    if (result == ZEL_OK)
        printf("%s\n", name);
    else
        fprintf(stderr, "%s: %s\n", address, ZEL_XUTIL_GetText(result));
    ZEL_Unload();
    return result != ZEL_OK;
}
