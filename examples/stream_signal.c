/* Subscribes to one signal, fetches its values for a second and prints them with their times.
 *
 *   stream_signal [ADDRESS [PORT [SIGNAL]]]
 */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <ZEL_VR_Framework.h>

#ifdef _WIN32
#include <windows.h>
static void pause_ms(unsigned milliseconds)
{
    Sleep(milliseconds);
}
#else
#include <time.h>
static void pause_ms(unsigned milliseconds)
{
    const struct timespec time = {milliseconds / 1000, (long)(milliseconds % 1000) * 1000000};
    nanosleep(&time, NULL);
}
#endif

enum { ID = 1, LARGEST_RECORD = 1000 };

static char block[1 << 20];
static float values[LARGEST_RECORD];

/* Prints every record of the block; the last value is kept in *latest. Returns how many values. */
static unsigned long print_block(uint64_t size, float* latest)
{
    unsigned long count = 0;
    ZEL_DaqHeader header;
    uint64_t offset = 0;
    for (uint32_t index = 0;
         ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, index, block, size, &header, &offset) == ZEL_OK;
         ++index) {
        /* Evenly sampled 32-bit floats. Others are taken apart in their own way. */
        if (header.signalId != ID || header.kind != ZEL_DAQ_WITH_RATE ||
            header.dataType != ZEL_DAQ_REAL32)
            continue;
        ZEL_XUTIL_GetDaqData(offset, block, &header, values, sizeof values);
        for (uint32_t i = 0; i < header.count && i < LARGEST_RECORD; ++i) {
            /* The extra value is the sample rate in millihertz. */
            const uint64_t nanoseconds =
                header.timeStamp + (uint64_t)((double)i * 1e12 / (double)header.extra.u64);
            printf("%" PRIu64 ".%09" PRIu64 "  %g\n", nanoseconds / 1000000000,
                   nanoseconds % 1000000000, (double)values[i]);
            *latest = values[i];
            ++count;
        }
    }
    return count;
}

int main(int argc, char** argv)
{
    const char* const address = argc > 1 ? argv[1] : "192.168.169.20";
    const uint16_t port = argc > 2 ? (uint16_t)atoi(argv[2]) : 55000;
    const char* const signal = argc > 3 ? argv[3] : "AnalogIn_Connector0.Signal0";
    uint64_t module = 0;
    unsigned long count = 0;
    float latest = 0;

    ZEL_Init();
    int32_t result = ZEL_XCOM_ConnectToTcpIpDev(address, port, &module);
    if (result == ZEL_OK)
        result = ZEL_XDAQ_OpenSubscription(module);
    if (result == ZEL_OK)
        result = ZEL_XDAQ_AddSignal(module, signal, ID, LARGEST_RECORD);
    if (result == ZEL_OK)
        result = ZEL_XDAQ_FinishSubscription(module, 0);
    for (int fetch = 0; result == ZEL_OK && fetch < 10; ++fetch) {
        uint64_t size = 0;
        pause_ms(100);
        result = ZEL_XDAQ_GetMeasValBlock(module, block, &size, sizeof block);
        if (result == ZEL_OK)
            count += print_block(size, &latest);
    }
    ZEL_XDAQ_ClearSubscription(module);
    if (result == ZEL_OK)
        fprintf(stderr, "%lu values, the latest %g\n", count, (double)latest);
    else
        fprintf(stderr, "%s: %s\n", address, ZEL_XUTIL_GetText(result));
    ZEL_Unload();
    return result != ZEL_OK;
}
