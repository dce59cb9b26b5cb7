/**
 * @file ZEL_VR_Framework.h
 * Interface of the ZEL_VR_Framework library: networked measurement-amplifier modules from a host
 * application. Plain C (C11) and C++; the same on 64-bit Windows and 64-bit Linux.
 *
 * A session
 * ---------
 *     ZEL_Init();
 *     uint64_t module;
 *     if (ZEL_XCOM_ConnectToTcpIpDev("192.168.169.20", 55000, &module) == ZEL_OK) {
 *         char text[256];
 *         uint64_t length = 0;
 *         int32_t result = ZEL_XPAR_ReadPar(module, 1, "System", "Name",
 *                                           text, &length, sizeof text);
 *         printf("%s\n", result == ZEL_OK ? text : ZEL_XUTIL_GetText(result));
 *     }
 *     ZEL_Unload();
 *
 * Results
 * -------
 * An export returns 0 (ZEL_OK) or a negative code; a positive code is a module's warning. The names
 * below are the library's own codes; a few of them appear in its log only. A module answers a
 * request with a code of its own where it refuses it; ZEL_XUTIL_GetText knows the text of both,
 * ZEL_XPAR_GetLastErrMsgByUuid the module's explanation. Every export that returns a result may
 * give ZEL_SYS_NO_OBJECT where memory or descriptors run out; its description names the code where
 * there are other reasons. A connection on which an answer comes that there is no memory for ends,
 * and what waits on it gives ZEL_CONN_RECEIVE_FAILED; a scan misses such an answer. Two words
 * stand for groups of codes in the descriptions of the exports:
 *
 *  - "started codes": ZEL_SYS_NOT_STARTED, which always comes before every other check, and
 *    ZEL_SYS_BAD_PARAMETER for a null pointer, which always comes before anything is sent;
 *  - "request codes", from every export that asks a module:
 *    ZEL_CONN_UNKNOWN_UUID (no connection to that module), ZEL_CONN_SEND_FAILED,
 *    ZEL_CONN_RECEIVE_FAILED (connection lost while waiting), ZEL_TRANS_TIMEOUT_SEND,
 *    ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, ZEL_TRANS_TIMEOUT_RESPONSE, ZEL_TRANS_WRONG_TYPE,
 *    ZEL_TRANS_INVALID_FORMAT, ZEL_SRV_RESPONSE_MISMATCH, ZEL_SYS_NO_OBJECT (out of memory, threads
 *    or handles), ZEL_SRV_INVALID_PARAMETERS (the request would be 4 GiB long or longer; nothing is
 *    sent), or the code with which the module itself answered.
 *
 * Texts and buffers
 * -----------------
 * Texts are 8-bit, UTF-8 and NUL-terminated. The caller owns every buffer and cell that it passes;
 * the library keeps none of them after the call has returned (ZEL_XDAQ_Async_GetMeasValBlock
 * excepted). Where a text comes back, three arguments belong together: `buffer`; `capacity`, its
 * size in bytes; and `length`, which receives the length of the whole text without its NUL, also
 * when the text did not fit. A text fits when it is strictly shorter than the capacity. One that
 * does not fit gives ZEL_SRV_BUFFER_TOO_SMALL and an empty buffer: allocate length + 1 bytes and
 * ask again. This is "the buffer rule" below. A long answer is received in the caller's buffer
 * itself: one that breaks off leaves an empty text, or in a buffer for a block bytes that count for
 * nothing, but not what was in it before.
 *
 * Two things are kept for each module until a newer one takes their place: the last answer that was
 * too long (ZEL_XCOM_GetSyncReqrSrvLastErrDat) and the last words of a refusal
 * (ZEL_XPAR_GetLastErrMsg). Of each the library holds at most 64 MiB, of 10000 modules: beyond that
 * the oldest go, but never the one put there last. One that is larger than 64 MiB by itself goes
 * with ZEL_XCOM_Disconnect of its module, or with ZEL_XCOM_DisconnectFromTcpIpDev where that closes
 * the connection. Pointers into them are good for as long as they are kept: copy what you need at
 * once.
 *
 * Files
 * -----
 * A host file that an export writes is opened before anything is sent, or made, and its content is
 * replaced when the new one is there. Where the call fails, a file that was there stays as it is
 * and one that the call made is removed. The one exception is ZEL_FILE_WRITE on a file that was
 * there: it keeps its content where the system tells beforehand that there is no room, else it is
 * empty. Calls of one process that write a file at the same time do not mix: it holds what one of
 * them wrote. Only regular files can be written, on Linux terminals and the like too; anything
 * else, a pipe for example, gives ZEL_FILE_OPEN at once. This is "the file rule" below.
 *
 * Numbers
 * -------
 * People count connectors, channels and signals from 1, and so do the modules' parameter documents
 * with all paths into them, the error and status lists, and ZEL_SignalInfoEx. Signal references
 * count from 0, and so do the controls and the system functions of a module and its TEDS status:
 * "AnalogIn_Connector0.Signal1" is connector 1, signal 2 of ZEL_XDAQ_GetAnalogMeasVal, and 0, 1 of
 * ZEL_XCTRL_SetZero. Each export tells how it counts, and the library passes on what it gets; the
 * one exception are the TEDS exports of ZEL_XPAR_, which count from 1 where the request counts
 * from 0.
 *
 * Threads and time
 * ----------------
 * Any number of threads may call at the same time, unless an export says otherwise, but none may be
 * inside the library while ZEL_Unload runs. An export that asks a module blocks its caller until
 * the answer has come: at most 3 s until the module acknowledges, plus the time that the module
 * then asks for, an hour at most, plus the time that a long request and a long answer take in their
 * pieces, each within 3 s and all of one of them within an hour; a module that keeps sending empty
 * pieces is given up sooner. A request that ends with ZEL_TRANS_TIMEOUT_RESPONSE is sent once more
 * before it is given up. This is "the request time" below. Called from several threads, requests to
 * one module and to many run side by side. An export that "returns at once" waits for no module and
 * no file, and for no other call that does. A thread that is cancelled (pthread_cancel) inside an
 * export finishes the call first; with the asynchronous type of cancellation no export may be
 * called, and TerminateThread must not hit one.
 *
 * Processes (Linux)
 * -----------------
 * A forked child is not started, whatever its parent was doing at the fork: it gets
 * ZEL_SYS_NOT_STARTED until it calls ZEL_Init itself, and then has connections, subscriptions,
 * pending reads and last errors of its own, under a UUID of its own. Nothing that it calls, and no
 * way that it ends, touches its parent's connections. A host that becomes a daemon calls ZEL_Init
 * after that. Between vfork and exec no export may be called.
 *
 * "1/10" in a description is the module's service and its method.
 *
 * Other languages
 * ---------------
 * Preprocessed as C, this file is declarations that parsers of C accept, cffi's cdef among them. On
 * Linux that is so as it stands; with ZEL_CDEF defined it is declarations of this file alone, the
 * same ones on every platform ("cc -E -P -DZEL_CDEF"). The records of the status exports are packed
 * to 4 bytes, which such a parser does not see; all others are laid out the same way with and
 * without that, so tell it to pack all: ffi.cdef(text, pack=4). C++ checks the sizes of the records
 * and the places of their members; C does so where ZEL_CHECK_LAYOUT is defined.
 */
#ifndef ZEL_VR_FRAMEWORK_H
#define ZEL_VR_FRAMEWORK_H

#ifndef ZEL_CDEF
#include <stdint.h>
#endif

#if defined(_WIN32) && !defined(ZEL_STATIC) && !defined(ZEL_CDEF)
#define ZEL_API __declspec(dllimport)
#elif defined(ZEL_BUILDS_LIBRARY) && defined(__GNUC__) && !defined(_WIN32)
#define ZEL_API __attribute__((visibility("default")))
#else
#define ZEL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------
 * Result codes
 * --------------------------------------------------------------------------------------------- */

#define ZEL_OK 0        /**< success */
#define ZEL_FAILED (-1) /**< failed without a code of its own (0xFFFFFFFF) */

/* requests and responses */
#define ZEL_INDEX_OUT_OF_RANGE (-1000000)     /**< no such handle, or it has been read already */
#define ZEL_SRV_BUFFER_TOO_SMALL (-1000201)   /**< the answer does not fit the caller's buffer */
#define ZEL_SRV_RESPONSE_MISMATCH (-1000202)  /**< the response names another service or method */
#define ZEL_SRV_UNKNOWN_METHOD (-1000203)     /**< the module has no such method */
#define ZEL_SRV_INVALID_PARAMETERS (-1000255) /**< arguments that cannot make a request */
#define ZEL_SRV_NO_TELEGRAM (-1000265)        /**< there was no request to send */
#define ZEL_SRV_CONTROL_UNKNOWN (-1000300)    /**< a module does not have the function */

/* transactions */
#define ZEL_TRANS_WRONG_TYPE (-1000404)          /**< telegram out of order */
#define ZEL_TRANS_INVALID_FORMAT (-1000414)      /**< telegram of a wrong length */
#define ZEL_TRANS_TIMEOUT_SEND (-1000416)        /**< a long request was not taken in time */
#define ZEL_TRANS_TIMEOUT_ACKNOWLEDGE (-1000417) /**< no sign of the module within 3 s */
#define ZEL_TRANS_TIMEOUT_RESPONSE (-1000418)    /**< acknowledged, but not answered in time */
#define ZEL_TRANS_CANCELED (-1000419)            /**< ended by a module */
#define ZEL_TRANS_NOT_FOUND (-1000420)           /**< telegram that belongs to no transaction */
#define ZEL_TRANS_HEADER_ERROR (-1000430)        /**< telegram too short for its header */

/* connections */
#define ZEL_CONN_UNKNOWN_UUID (-1000500)        /**< no connection to that module */
#define ZEL_CONN_NO_ADDRESS_RESPONSE (-1000504) /**< connected, but it did not tell its UUID */
#define ZEL_CONN_SEND_FAILED (-1000522)         /**< the telegram could not be sent */
#define ZEL_CONN_RECEIVE_FAILED (-1000524)      /**< the connection was lost */
#define ZEL_TCP_CONNECT_FAILED (-1000620)       /**< name unknown, or nobody accepts there */
#define ZEL_UDP_REUSE_ADDRESS (-1000652)        /**< UDP port cannot be shared */
#define ZEL_UDP_BROADCAST (-1000654)            /**< UDP broadcast not permitted */

/* documents and values */
#define ZEL_XML_TAG_NOT_DEFINED (-1001002)    /**< element without a name */
#define ZEL_UTIL_WAIT_TIMEOUT (-1001130)      /**< the time to wait ran out */
#define ZEL_UTIL_STRING_CONVERSION (-1001132) /**< a text is not the number that it should be */
#define ZEL_PARAM_XML_ERROR (-1004135)        /**< a document does not parse or lacks an element */
#define ZEL_UNIT_NOT_FOUND (-106000)          /**< no unit of that name */

/* files */
#define ZEL_FILE_READ (-1004198)          /**< the host file cannot be read */
#define ZEL_FILE_WRITE (-1004199)         /**< the host file cannot be written */
#define ZEL_FILE_OPEN (-1004200)          /**< the host file cannot be opened */
#define ZEL_FILE_NOT_FOUND (-1004201)     /**< the folder holds none of the files */
#define ZEL_SYS_FILE_TOO_LARGE (-1016049) /**< the host file is more than can be sent */

/* measured values */
#define ZEL_DAQ_SUBSCRIPTION_STATE (-1014004) /**< not in the order open, add, finish */
#define ZEL_DAQ_NO_RECORD (-1014099)          /**< the block holds no such record (0xFFF086AD) */
#define ZEL_SIGNAL_NOT_CORRECT (-1014490)     /**< the numbers of a signal reference do not read */
#define ZEL_SIGNAL_NOT_SUPPORTED (-1014498)   /**< a kind of signal that has no parameter path */
#define ZEL_SIGNAL_UNKNOWN (-1014504)         /**< not a signal reference */
#define ZEL_DAQ_TRIGGER_UNKNOWN (-1014139)    /**< the trigger has not been activated */

/* CAN documents */
#define ZEL_CAN_REAL32_LENGTH (-1014229)  /**< a 32-bit float that is not 32 bits long */
#define ZEL_CAN_REAL64_LENGTH (-1014230)  /**< a 64-bit float that is not 64 bits long */
#define ZEL_CAN_SIGNAL_BITS (-1014231)    /**< start bit and length do not fit together */
#define ZEL_CAN_MODE_BITS (-1014232)      /**< mode start bit and length do not fit together */
#define ZEL_CAN_IDENTIFIER (-1014234)     /**< identifier too large for the frame format */
#define ZEL_CAN_START_BIT (-1014235)      /**< start bit above 63 */
#define ZEL_CAN_LENGTH (-1014236)         /**< length above 64 bits, or 0 */
#define ZEL_CAN_MODE_START_BIT (-1014237) /**< mode start bit above 63 */
#define ZEL_CAN_MODE_LENGTH (-1014238)    /**< mode length above 64 bits */

/* the library */
#define ZEL_POINTER_NULL (-1014405)      /**< a response without a telegram */
#define ZEL_SYS_NO_OBJECT (-1016002)     /**< out of memory, threads or handles */
#define ZEL_SYS_NOT_STARTED (-1016035)   /**< ZEL_Init has not been called (0xFFF07F1D) */
#define ZEL_SYS_BAD_PARAMETER (-1016045) /**< null pointer, or a size of 0 (0xFFF07F13) */

/* ------------------------------------------------------------------------------------------------
 * Constants
 * --------------------------------------------------------------------------------------------- */

/** No module; for ZEL_XSTAT_GetConnectedModules the library's own connection table. */
#define ZEL_NO_MODULE UINT64_C(0xFFFFFFFFFFFFFFFF)

/** Adapter index of a scan over every network adapter of the host. */
#define ZEL_ALL_ADAPTERS UINT32_C(0xFFFFFFFF)

/** Connector types: the `type` of the path composers and of ZEL_XUTIL_ParseSignalPath. */
#define ZEL_CONNECTOR_ANALOG UINT32_C(1)         /**< analog input of an amplifier connector */
#define ZEL_CONNECTOR_CAN UINT32_C(2)            /**< CAN bus of an amplifier connector */
#define ZEL_CONNECTOR_CAN_ADDITIONAL UINT32_C(3) /**< CAN bus of an additional connector */
#define ZEL_CONNECTOR_FIBER UINT32_C(4)          /**< fiber channel of an additional connector */

/* ------------------------------------------------------------------------------------------------
 * Records of the status exports: packed to 4 bytes
 * --------------------------------------------------------------------------------------------- */

#define ZEL_STATUS_TEXT_SIZE 128
#define ZEL_LIST_SIZE 256    /**< entries of the ordinary error and status lists */
#define ZEL_LIST_SIZE_EX 550 /**< entries of the Ex lists */

#ifndef ZEL_CDEF
#pragma pack(push, 4)
#endif

/** One error of a module. */
typedef struct ZEL_ErrorEntry {
    uint32_t level;     /**< severity, as the module numbers it */
    int32_t code;       /**< result code, see ZEL_XUTIL_GetText */
    uint32_t connector; /**< where the error is, counted from 1; 0 where it does not apply */
    uint32_t channel;   /**< the same */
    uint32_t signal;    /**< the same */
    char text[ZEL_STATUS_TEXT_SIZE]; /**< cut to 128 bytes, NOT terminated when it fills them all */
} ZEL_ErrorEntry;

typedef struct ZEL_ErrorList {
    uint32_t count; /**< entries filled */
    ZEL_ErrorEntry entries[ZEL_LIST_SIZE];
} ZEL_ErrorList;

typedef struct ZEL_ErrorListEx {
    uint32_t count; /**< entries filled */
    ZEL_ErrorEntry entries[ZEL_LIST_SIZE_EX];
} ZEL_ErrorListEx;

/** One status value of a module. */
typedef struct ZEL_StatusEntry {
    uint32_t connector; /**< where it belongs, counted from 1; 0 where it does not apply */
    uint32_t channel;   /**< the same */
    uint32_t signal;    /**< the same */
    uint32_t statusId;  /**< which status it is, as the module numbers it */
    uint64_t value;
    char info[ZEL_STATUS_TEXT_SIZE]; /**< cut to 128 bytes, NOT terminated when it fills them all */
} ZEL_StatusEntry;

typedef struct ZEL_StatusList {
    uint32_t count; /**< entries filled */
    ZEL_StatusEntry entries[ZEL_LIST_SIZE];
} ZEL_StatusList;

typedef struct ZEL_StatusListEx {
    uint32_t count; /**< entries filled */
    ZEL_StatusEntry entries[ZEL_LIST_SIZE_EX];
} ZEL_StatusListEx;

/** A module that is connected to the library or to another module. */
typedef struct ZEL_ConnectedModule {
    uint64_t uuid;
    uint32_t deviceType;      /**< 2 for the library's own connections */
    uint32_t activeInterface; /**< interface through which the module is reached */
    uint8_t reserved[16];     /**< left as it is */
} ZEL_ConnectedModule;

#ifndef ZEL_CDEF
#pragma pack(pop)
#endif

/* ------------------------------------------------------------------------------------------------
 * Records of the scans
 * --------------------------------------------------------------------------------------------- */

#define ZEL_SEGMENT_SIZE 128

/** A module that answered a scan; the texts are terminated and cut to fit. */
typedef struct ZEL_SegmentModule {
    char address[16]; /**< IPv4 address, dotted */
    uint32_t port;    /**< TCP port for ZEL_XCOM_ConnectToTcpIpDev */
    uint32_t reserved;
    uint64_t uuid;
    char name[128];
    char moduleType[16];
} ZEL_SegmentModule;

typedef struct ZEL_SegmentArray {
    uint32_t count; /**< records filled */
    uint32_t reserved;
    ZEL_SegmentModule modules[ZEL_SEGMENT_SIZE];
} ZEL_SegmentArray;

/* ------------------------------------------------------------------------------------------------
 * Records of the measured values
 * --------------------------------------------------------------------------------------------- */

#define ZEL_SIGNAL_ID_SIZE 128
#define ZEL_PATH_SIZE 256
#define ZEL_UNIT_SIZE 32

/**
 * Data types: the elements of a record. The low four bits are the size of one element in bytes, 0
 * meaning 16. The elements of evenly sampled signals are values. Those of the TIMED types begin
 * with the 8 bytes of their own time stamp (uint64_t, as ZEL_DaqHeader::timeStamp), behind which
 * the value follows without a gap: where it has 4 bytes, an element has 12, and every other one is
 * not aligned (copy with memcpy).
 *
 * "No value" is the largest finite number of a REAL type, the largest number of an INT type, and
 * all ones of a UINT type.
 */
#define ZEL_DAQ_INT32 UINT32_C(20)         /**< int32_t */
#define ZEL_DAQ_INT64 UINT32_C(24)         /**< int64_t */
#define ZEL_DAQ_REAL32 UINT32_C(36)        /**< float */
#define ZEL_DAQ_REAL64 UINT32_C(40)        /**< double */
#define ZEL_DAQ_TIMED_INT64 UINT32_C(80)   /**< time stamp and int64_t */
#define ZEL_DAQ_TIMED_INT32 UINT32_C(92)   /**< time stamp and int32_t */
#define ZEL_DAQ_TIMED_REAL64 UINT32_C(96)  /**< time stamp and double */
#define ZEL_DAQ_TIMED_REAL32 UINT32_C(108) /**< time stamp and float */
#define ZEL_DAQ_TIMED_UINT64 UINT32_C(224) /**< time stamp and uint64_t */
#define ZEL_DAQ_TIMED_UINT32 UINT32_C(236) /**< time stamp and uint32_t */

/** Kinds of records: what ZEL_DaqHeader::extra is. */
#define ZEL_DAQ_WITH_RATE UINT32_C(1)   /**< the sample rate */
#define ZEL_DAQ_WITH_BEFORE UINT32_C(2) /**< the value before the first element */

/**
 * The extra value of a record.
 *
 * In records of kind ZEL_DAQ_WITH_RATE it is in `u64`: the sample rate in millihertz, or 0 where
 * the elements have time stamps of their own.
 *
 * In records of kind ZEL_DAQ_WITH_BEFORE it is the signal's value just before the first element, or
 * "no value" where there is none, and the data type tells the member: `i32` for ZEL_DAQ_INT32,
 * `u32` for ZEL_DAQ_TIMED_UINT32, `f32` for the REAL32 types and for ZEL_DAQ_TIMED_INT32, which
 * gives it as a float; `i64`, `u64` and `f64` for the types of 64 bits. For a data type that is not
 * in the list above the `bytes` are as the module sent them.
 */
typedef union ZEL_DaqExtra {
    uint64_t u64;
    int64_t i64;
    double f64;
    uint32_t u32; /**< these three are the first four bytes */
    int32_t i32;
    float f32;
    uint8_t bytes[8];
} ZEL_DaqExtra;

/** Header of one record of a measured-value block, in the host's byte order. */
typedef struct ZEL_DaqHeader {
    uint8_t kind;       /**< ZEL_DAQ_WITH_RATE or ZEL_DAQ_WITH_BEFORE */
    uint8_t dataType;   /**< ZEL_DAQ_INT32 to ZEL_DAQ_TIMED_UINT32 */
    uint16_t signalId;  /**< the user signal id given to ZEL_XDAQ_AddSignal */
    uint32_t count;     /**< number of elements */
    uint64_t timeStamp; /**< time of the first element: nanoseconds since 1970-01-01 00:00 UTC, by
                             the module's clock. Element i of an evenly sampled record was taken
                             i * 10^12 / rate in millihertz nanoseconds later */
    ZEL_DaqExtra extra;
} ZEL_DaqHeader;

/** One signal of a module. */
typedef struct ZEL_SignalInfo {
    char id[ZEL_SIGNAL_ID_SIZE]; /**< the signal's identifier, terminated: the signal reference that
                                      ZEL_XDAQ_AddSignal and ZEL_XDAQ_GetMeasVal take */
} ZEL_SignalInfo;

/** One signal of a module with what its identifier says. Numbers and path are 0 and empty where the
 *  identifier does not carry them. */
typedef struct ZEL_SignalInfoEx {
    char id[ZEL_SIGNAL_ID_SIZE];
    uint32_t connectorType;   /**< ZEL_CONNECTOR_..., 0 for signals that no connector produces */
    uint32_t connector;       /**< counted from 1, as ZEL_XUTIL_ParseSignalPath returns it */
    uint32_t channel;         /**< counted from 1 */
    uint32_t signal;          /**< counted from 1 */
    char path[ZEL_PATH_SIZE]; /**< parameter path of the signal */
    char name[ZEL_SIGNAL_ID_SIZE];
    char unit[ZEL_UNIT_SIZE];
    double sampleRate;   /**< in hertz; 0 for time-stamped values */
    uint32_t dataType;   /**< ZEL_DAQ_INT32 to ZEL_DAQ_TIMED_UINT32; 0 where the module is silent */
    uint32_t recordKind; /**< ZEL_DAQ_WITH_RATE or ZEL_DAQ_WITH_BEFORE */
    uint32_t isEnabled;  /**< 1 when the signal is switched on */
    uint32_t reserved;
} ZEL_SignalInfoEx;

/** The current value of one signal; the largest finite double stands for "no value". */
typedef struct ZEL_MeasuredValue {
    double value;
    char id[ZEL_SIGNAL_ID_SIZE]; /**< the signal's identifier, terminated */
} ZEL_MeasuredValue;

/** What a trigger found when its condition held. */
typedef struct ZEL_TriggerEvent {
    double value;           /**< of the signal, or of the status */
    ZEL_StatusEntry status; /**< the status; zeroes for a signal's condition */
} ZEL_TriggerEvent;

/* ------------------------------------------------------------------------------------------------
 * Records of the sensor, signal and gate documents
 *
 * The composers turn a record into a document, the parsers a document into the record: what is
 * composed is read back unchanged, numbers bit by bit. Texts are UTF-8 and terminated within their
 * field. Units are codes as ZEL_XUTIL_GetUnitCodeFromName returns them, or 0 for none; the
 * documents name them.
 * --------------------------------------------------------------------------------------------- */

#define ZEL_NAME_SIZE 64
#define ZEL_COMMENT_SIZE 128

/** Two bounds, both inclusive. */
typedef struct ZEL_Range {
    double minimum;
    double maximum;
} ZEL_Range;

/** An analog sensor: what it measures, and what it gives for that. */
typedef struct ZEL_Sensor {
    char name[ZEL_NAME_SIZE];
    char manufacturer[ZEL_NAME_SIZE];
    char model[ZEL_NAME_SIZE];
    char serialNumber[32];
    char calibrationDate[16]; /**< "2024-05-31"; empty when unknown */
    char comment[ZEL_COMMENT_SIZE];
    uint32_t physicalUnit;     /**< unit code of what is measured */
    uint32_t electricalUnit;   /**< unit code of the sensor's output, "mV/V" for example */
    ZEL_Range physicalRange;   /**< in physicalUnit */
    ZEL_Range electricalRange; /**< in electricalUnit: the output at the ends of physicalRange */
    double excitationVoltage;  /**< in volts; 0 for a sensor without supply */
    double resistance;         /**< bridge or sensor resistance in ohms; 0 when unknown */
} ZEL_Sensor;

#define ZEL_CAN_FRAME_STANDARD UINT32_C(0) /**< identifier of 11 bits */
#define ZEL_CAN_FRAME_EXTENDED UINT32_C(1) /**< identifier of 29 bits */

#define ZEL_CAN_LITTLE_ENDIAN UINT32_C(0) /**< least significant byte first */
#define ZEL_CAN_BIG_ENDIAN UINT32_C(1)    /**< most significant byte first */

#define ZEL_CAN_UNSIGNED UINT32_C(0)
#define ZEL_CAN_SIGNED UINT32_C(1)
#define ZEL_CAN_REAL32 UINT32_C(2)
#define ZEL_CAN_REAL64 UINT32_C(3)

/** A value that travels in the frames of a CAN bus: where its bits are, and what they mean. */
typedef struct ZEL_CanSensor {
    char name[ZEL_NAME_SIZE];
    char comment[ZEL_COMMENT_SIZE];
    uint32_t identifier;   /**< of the frame, up to 11 or 29 bits as frameFormat says */
    uint32_t frameFormat;  /**< ZEL_CAN_FRAME_... */
    uint32_t startBit;     /**< 0 to 63 */
    uint32_t bitLength;    /**< 1 to 64; startBit + bitLength at most 64 */
    uint32_t byteOrder;    /**< ZEL_CAN_LITTLE_ENDIAN or ZEL_CAN_BIG_ENDIAN */
    uint32_t dataType;     /**< ZEL_CAN_UNSIGNED to ZEL_CAN_REAL64 */
    uint32_t modeStartBit; /**< 0 to 63: multiplexer bits that select this value */
    uint32_t modeLength;   /**< 0 to 64 bits; 0 for a value that is in every frame */
    uint64_t modeValue;    /**< what the multiplexer bits hold then; at most modeLength bits */
    uint32_t physicalUnit; /**< unit code */
    uint32_t reserved;     /**< 0 */
    double factor;         /**< physical value = raw value * factor + offset */
    double offset;
    ZEL_Range physicalRange; /**< in physicalUnit */
} ZEL_CanSensor;

/** How an analog input becomes a signal. */
typedef struct ZEL_Signal {
    char name[ZEL_NAME_SIZE];
    uint32_t connector;     /**< counted from 1 */
    uint32_t signal;        /**< counted from 1: the "address" of the document */
    int32_t active;         /**< 1 or 0 */
    uint32_t unit;          /**< unit code */
    double sampleRate;      /**< in hertz */
    double filterFrequency; /**< cut-off frequency of the low-pass in hertz; 0 without filter */
    ZEL_Range range;        /**< in unit */
} ZEL_Signal;

/** How a decoded CAN value becomes a signal. */
typedef struct ZEL_CanSignal {
    char name[ZEL_NAME_SIZE];
    uint32_t connector; /**< counted from 1 */
    uint32_t channel;   /**< decoder, counted from 1: the "address" of the document */
    int32_t active;     /**< 1 or 0 */
    uint32_t unit;      /**< unit code */
    uint32_t timeoutMs; /**< without a frame for so long the signal has no value; 0 never */
    uint32_t reserved;  /**< 0 */
    ZEL_Range range;    /**< in unit */
} ZEL_CanSignal;

#define ZEL_GATE_INSIDE UINT32_C(0)  /**< the gate is open between its bounds */
#define ZEL_GATE_OUTSIDE UINT32_C(1) /**< the gate is open below and above its bounds */

/** One gate: a signal and the bounds between which it opens the gate. */
typedef struct ZEL_GateIndex {
    uint32_t index; /**< number of the gate, counted from 1: the "address" of the document */
    int32_t active; /**< 1 or 0 */
    uint32_t mode;  /**< ZEL_GATE_INSIDE or ZEL_GATE_OUTSIDE */
    uint32_t unit;  /**< unit code of the bounds */
    char name[ZEL_NAME_SIZE];
    char source[ZEL_SIGNAL_ID_SIZE]; /**< signal reference of the signal that is watched */
    ZEL_Range bounds;                /**< in unit */
} ZEL_GateIndex;

/** One message of an error reply. */
typedef struct ZEL_ReplyMessage {
    char type[32];  /**< "Error" or "Warning", as the module words it; cut as text is */
    char text[256]; /**< terminated; what does not fit is cut off, never within a character */
} ZEL_ReplyMessage;

/* ------------------------------------------------------------------------------------------------
 * Start and stop
 * --------------------------------------------------------------------------------------------- */

/**
 * Starts the library: its network thread, and the sockets that listen for scan answers. Calling it
 * while the library is started changes nothing. Calls do not nest: one ZEL_Unload ends them all.
 *
 * Where the host cannot give the library its thread, its descriptors (7 on Linux) or its memory,
 * the C++ exception that says so leaves this one export: std::system_error, with the code
 * resource_unavailable_try_again for the thread, too_many_files_open or
 * too_many_files_open_in_system for descriptors, or std::bad_alloc. The library is not started
 * then, nothing is left over, and a later call may try again. Nothing in a C program catches it:
 * the program ends, with a message on standard error. One that must go on calls ZEL_Init from a
 * source file of its own in C++,
 *
 *     extern "C" int started(void) { try { return ZEL_Init(); } catch (...) { return 0; } }
 *
 * and on Windows builds that file with MinGW, or asks with __try and __except.
 *
 * On Windows never call it in a DllMain, nor in a constructor of a DLL's global object: no thread
 * starts there, so that after 5 s the exception leaves it, and LoadLibrary fails where nobody
 * catches it. On Linux constructors may call it.
 *
 * @return always 1, not ZEL_OK
 * @threads any; calls of ZEL_Init and ZEL_Unload wait for each other
 */
ZEL_API int32_t ZEL_Init(void);

/**
 * Stops the library: closes every connection, forgets subscriptions, pending reads and last errors,
 * and ends the network thread. Harmless when the library is not started. Unloading the library file
 * does the same.
 *
 * @threads any, but no other export may be running or be called meanwhile; waits for the network
 *          thread, which ends at once
 */
ZEL_API void ZEL_Unload(void);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XCOM_: connections, scans, network settings, asynchronous reads
 * --------------------------------------------------------------------------------------------- */

/**
 * Opens the TCP connection to a module and learns its UUID, by which every other export addresses
 * it. A second connect to the same address and port gives the UUID of the connection that is there.
 *
 * A connection is kept while its module is alive, and a module that is connected by another address
 * keeps that connection. Where nothing has been heard on such a connection for a second, the module
 * is asked by it (service 2, method 1); one that does not answer is replaced by the new connection,
 * and what waits on it ends with ZEL_CONN_RECEIVE_FAILED. The system notices within 12 s that a
 * module has fallen silent.
 *
 * @param address  IPv4 address or host name
 * @param port     TCP port of the module
 * @param uuid     receives the module's UUID
 * @return ZEL_OK; started codes; ZEL_TCP_CONNECT_FAILED (the name does not resolve, nobody accepts
 *         within 5 s, or the system has no descriptor for one connection more or cannot watch it);
 * ZEL_CONN_NO_ADDRESS_RESPONSE (connected, but no valid answer within 5 s); ZEL_SYS_NO_OBJECT
 * @threads any; blocks for name resolution, then at most 10 s, and as long as a read may for a
 *          connection that has to be tried
 */
ZEL_API int32_t ZEL_XCOM_ConnectToTcpIpDev(const char* address, uint16_t port, uint64_t* uuid);

/**
 * Closes the connection to the module at an address, and drops its subscription.
 *
 * @param address  IPv4 address or host name, as it was connected
 * @param port     TCP port
 * @return ZEL_OK; started codes; ZEL_FAILED (no connection to that address, or an unknown name)
 * @threads any; blocks for name resolution; requests that wait on the connection end
 */
ZEL_API int32_t ZEL_XCOM_DisconnectFromTcpIpDev(const char* address, uint16_t port);

/**
 * Closes the connection to a module, and drops its subscription.
 *
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; ZEL_CONN_UNKNOWN_UUID
 * @threads any; waits for no module; requests that wait on the connection end
 */
ZEL_API int32_t ZEL_XCOM_Disconnect(uint64_t uuid);

/**
 * Does nothing; there for hosts that call it.
 *
 * @threads any; returns at once
 */
ZEL_API void ZEL_XCOM_DisableZELDevice(void);

/**
 * The library's own UUID, by which the modules address it. It is the same for the life of the
 * process; a forked child has another one.
 *
 * @return the UUID itself, not a result code; works before ZEL_Init. ZEL_NO_MODULE where the host
 * is out of memory or descriptors: a later call may tell it
 * @threads any; the first call lists the host's adapters
 */
ZEL_API uint64_t ZEL_XCOM_GetOwnUUID(void);

/**
 * The whole response of the last request, to any module, whose response was longer than the
 * caller's buffer: what ZEL_SRV_BUFFER_TOO_SMALL kept back. A response exactly as long as the
 * capacity is not kept.
 *
 * @param data    receives a pointer to the response; an empty text when there is none. The library
 *                owns it: it is valid until the next such response of that module, until newer
 *                ones push it out (see "Texts and buffers" above), or ZEL_Unload
 * @param length  receives the response's length in bytes
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER; works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XCOM_GetSyncReqrSrvLastErrDat(const char** data, uint64_t* length);

/**
 * The same as ZEL_XCOM_GetSyncReqrSrvLastErrDat, for the module `uuid`.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(uint64_t uuid, const char** data,
                                                        uint64_t* length);

/**
 * Looks for modules on the network and lists those that answer as a document: "SrvParams" with one
 * "Module" each (attribute "address" counts from 0) holding "IpAdr", "SubMask", "TcpPort", "Name",
 * "Uuid", "ModuleType" and "FirmwareVersion". Modules are found even when their address does not
 * fit the host's subnet (broadcast and multicast of 6/13). Scans may overlap: each lists what has
 * answered since it began. The document is well-formed XML 1.0 whatever modules say: U+FFFD stands
 * for what is not UTF-8 and for characters that XML does not have.
 *
 * @param adapter   number of the adapter in the document of ZEL_XCOM_GetNetAdapter;
 *                  ZEL_ALL_ADAPTERS, or any number that is not in that list, scans all
 * @param buffer    receives the document, by the buffer rule
 * @param length    receives its length
 * @param capacity  size of buffer in bytes, not 0
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL;
 *         ZEL_SYS_NO_OBJECT (at once: nobody was asked)
 * @threads any; blocks for 3 s, or for the milliseconds of the environment variable ZEL_SCAN_TIME
 *          where those are fewer (read at each scan)
 */
ZEL_API int32_t ZEL_XCOM_DoNetScan(uint32_t adapter, char* buffer, uint64_t* length,
                                   uint64_t capacity);

/**
 * As ZEL_XCOM_DoNetScan, into records.
 *
 * @param adapter  as for ZEL_XCOM_DoNetScan
 * @param segment  receives the modules, 22536 bytes; modules beyond the 128 that it holds are left
 *                 out
 * @return ZEL_OK; started codes; ZEL_SYS_NO_OBJECT (at once: nobody was asked)
 * @threads any; blocks as ZEL_XCOM_DoNetScan does
 */
ZEL_API int32_t ZEL_XCOM_ScanEthSegment(uint32_t adapter, ZEL_SegmentArray* segment);

/**
 * Lists modules on FireWire, of which there are none any more: an empty "SrvParams" document. Mind
 * the order of the last two arguments.
 *
 * @param buffer    receives the document, by the buffer rule
 * @param capacity  size of buffer in bytes, not 0
 * @param length    receives its length
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL; works
 *         before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XCOM_DoFirewireScan(char* buffer, uint64_t capacity, uint64_t* length);

/**
 * Lists modules on FireWire into records: all 22536 bytes become zero.
 *
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER; works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XCOM_ScanFirewireSegment(ZEL_SegmentArray* segment);

/**
 * Lists the host's network adapters as a document: "SrvParams" with one "NetSetting" each, whose
 * attribute "address" counts from 0 and is the adapter number of the scans, holding "AdapterName",
 * "SubMask" and "IpAdr" (both only for an adapter with an IPv4 address) and "PhyAdr".
 *
 * @param buffer    receives the document, by the buffer rule
 * @param length    receives its length; 0 on every failure, also when the document does not fit
 * @param capacity  size of buffer in bytes, not 0
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL; works
 *         before ZEL_Init
 * @threads any; asks the system, and waits for no module
 */
ZEL_API int32_t ZEL_XCOM_GetNetAdapter(char* buffer, uint64_t* length, uint64_t capacity);

/**
 * Reads the network setting of a module's first interface (1/5, view 1, path
 * /Communication/Network/eth0). A module without a connection is asked by datagrams, so that one
 * whose address does not fit the host's subnet is reached: by multicast; then by broadcast when it
 * has not answered within 3 s, or at once where no multicast can leave.
 *
 * @param uuid      module, connected or found by a scan
 * @param buffer    receives the section, by the buffer rule
 * @param length    receives its length
 * @param capacity  size of buffer in bytes, not 0
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL; request
 *         codes, ZEL_TRANS_TIMEOUT_RESPONSE where no such module is in the network
 * @threads any; blocks for the request time; for a module without a connection, for 6 s at most
 */
ZEL_API int32_t ZEL_XCOM_ReadNetSetting(uint64_t uuid, char* buffer, uint64_t* length,
                                        uint64_t capacity);

/**
 * As ZEL_XCOM_ReadNetSetting, for the settings of all interfaces (path /Communication/Network).
 *
 * @threads any; blocks for the request time; for a module without a connection, for 6 s at most
 */
ZEL_API int32_t ZEL_XCOM_ReadNetSettings(uint64_t uuid, char* buffer, uint64_t* length,
                                         uint64_t capacity);

/**
 * Writes a module's network settings (1/6, view 1, path /Communication). A module without a
 * connection is reached by datagrams, as by ZEL_XCOM_ReadNetSetting.
 *
 * @param uuid      module, connected or found by a scan
 * @param document  the "Network" section as ZEL_XCOM_ReadNetSettings gave it, changed; passed on as
 *                  is
 * @param length    its length in bytes, below 4 GiB; the document need not be terminated
 * @return ZEL_OK; started codes; request codes
 * @threads any; blocks for the request time; for a module without a connection, for 6 s at most
 */
ZEL_API int32_t ZEL_XCOM_WriteNetSetting(uint64_t uuid, const char* document, uint64_t length);

/**
 * Waits for the result of a read that ZEL_XDAQ_Async_GetMeasValBlock started, at most 5000 ms: see
 * ZEL_XCOM_Async_ReadData_Timeout.
 *
 * @threads any; blocks for at most 5000 ms, and all other asynchronous starts and reads with it
 */
ZEL_API int32_t ZEL_XCOM_Async_ReadData(uint32_t handle);

/**
 * Waits for the result of a read that ZEL_XDAQ_Async_GetMeasValBlock started. The handle is used up
 * by this call in every case: after a time-out the read is abandoned, and the buffer is the
 * caller's again.
 *
 * @param handle     from ZEL_XDAQ_Async_GetMeasValBlock
 * @param timeoutMs  longest time to wait, in milliseconds
 * @return ZEL_OK (the block is in the buffer); ZEL_SYS_NOT_STARTED; ZEL_INDEX_OUT_OF_RANGE (no such
 *         handle, or already read); ZEL_UTIL_WAIT_TIMEOUT; ZEL_SRV_BUFFER_TOO_SMALL (nothing
 *         copied, the received length tells what is needed); ZEL_POINTER_NULL; request codes
 * @threads any; blocks for at most timeoutMs, and all other asynchronous starts and reads with it
 */
ZEL_API int32_t ZEL_XCOM_Async_ReadData_Timeout(uint32_t handle, uint32_t timeoutMs);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XPAR_: parameters
 *
 * A module keeps its configuration as one document per view; a path names an element of it, its
 * steps joined by "/". Where an export takes a path and a name it addresses path/name, or the path
 * itself when the name is empty.
 * --------------------------------------------------------------------------------------------- */

/**
 * Reads one parameter as text (1/10).
 *
 * @param uuid      module
 * @param view      number of the view
 * @param path      path of the section
 * @param name      parameter below path; "" reads path itself
 * @param buffer    receives the value, by the buffer rule
 * @param length    receives its length
 * @param capacity  size of buffer in bytes
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadPar(uint64_t uuid, uint32_t view, const char* path, const char* name,
                                 char* buffer, uint64_t* length, uint64_t capacity);

/**
 * Reads one parameter as a number (1/10).
 *
 * @param value  receives the value; unchanged on failure
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER, checked first here; ZEL_SYS_NOT_STARTED;
 *         ZEL_SRV_BUFFER_TOO_SMALL (longer than 99 characters); ZEL_UTIL_STRING_CONVERSION (not a
 *         number); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadDoublePar(uint64_t uuid, uint32_t view, const char* path,
                                       const char* name, double* value);

/**
 * Writes a number to one parameter (1/9), with 6 decimals; above 100000 and below 0.1 in scientific
 * notation. The decimal separator is "." in every locale.
 *
 * @return ZEL_OK; started codes; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_WriteDoublePar(uint64_t uuid, uint32_t view, const char* path,
                                        const char* name, double value);

/**
 * As ZEL_XPAR_WriteDoublePar, for a whole number.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_WriteIntPar(uint64_t uuid, uint32_t view, const char* path,
                                     const char* name, int32_t value);

/**
 * As ZEL_XPAR_WriteDoublePar, for a text.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_WriteStringPar(uint64_t uuid, uint32_t view, const char* path,
                                        const char* name, const char* value);

/**
 * Reads the whole document of a view (1/1).
 *
 * @param view                number of the view
 * @param currentChoicesOnly  exactly 1: only what can be chosen at present; else everything
 * @param buffer              receives the document, by the buffer rule
 * @param length              receives its length
 * @param capacity            size of buffer in bytes
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadXML(uint64_t uuid, uint32_t view, int32_t currentChoicesOnly,
                                 char* buffer, uint64_t* length, uint64_t capacity);

/**
 * Reads the section of a view's document below a path (1/5); arguments as for ZEL_XPAR_ReadXML.
 *
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadXMLSect(uint64_t uuid, uint32_t view, int32_t currentChoicesOnly,
                                     const char* path, char* buffer, uint64_t* length,
                                     uint64_t capacity);

/**
 * Writes the document of a view (1/2).
 *
 * @param document  the document; need not be terminated
 * @param length    its length in bytes, below 4 GiB
 * @return ZEL_OK; started codes; ZEL_SRV_INVALID_PARAMETERS (longer); request codes
 * @threads any; blocks for the request time; documents above 65535 bytes travel in pieces
 */
ZEL_API int32_t ZEL_XPAR_WriteXML(uint64_t uuid, uint32_t view, const char* document,
                                  uint64_t length);

/**
 * Writes the section of a view's document below a path (1/6).
 *
 * @param section  the section; need not be terminated
 * @param length   its length in bytes, below 4 GiB
 * @return ZEL_OK; started codes; ZEL_SRV_INVALID_PARAMETERS (longer); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_WriteXMLSect(uint64_t uuid, uint32_t view, const char* path,
                                      const char* section, uint64_t length);

/**
 * Reads the schema of a view (1/3), by the buffer rule.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadXSD(uint64_t uuid, uint32_t view, char* buffer, uint64_t* length,
                                 uint64_t capacity);

/**
 * As ZEL_XPAR_ReadXSD, for the section below a path (1/7).
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadXSDSect(uint64_t uuid, uint32_t view, const char* path, char* buffer,
                                     uint64_t* length, uint64_t capacity);

/**
 * As ZEL_XPAR_ReadXSD, for the view's style sheet (1/4).
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadXSLT(uint64_t uuid, uint32_t view, char* buffer, uint64_t* length,
                                  uint64_t capacity);

/**
 * Resets the parameters that an XPath selects to their defaults (1/12).
 *
 * @return ZEL_OK; started codes; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ActivateDefaultSetting(uint64_t uuid, uint32_t view, const char* xpath);

/**
 * Resets every parameter of a module to its default (1/12 with nothing selected).
 *
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ActivateAllDefaultSettings(uint64_t uuid);

/**
 * Writes the list of a module's views into a host file (1/11), by the file rule.
 *
 * @param fileName  name of the file, UTF-8
 * @return ZEL_OK; started codes; ZEL_FILE_OPEN (nothing is sent); ZEL_FILE_WRITE; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_GetParViews(uint64_t uuid, const char* fileName);

/**
 * Reads the list of a module's views (1/11), by the buffer rule.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_GetParViewsString(uint64_t uuid, char* buffer, uint64_t* length,
                                           uint64_t capacity);

/**
 * How many of an element a module can have: "maxOccurs" in the schema of path/name (1/7). View 5
 * with path "Amplifier" and name "Connector" counts the connectors that are there (1/5).
 *
 * @return the count when it is not negative (0 also when the answer does not tell); started codes;
 *         request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_GetMaxCount(uint64_t uuid, uint32_t view, const char* path,
                                     const char* name);

/**
 * Reads the TEDS memory of the sensor at a connector (1/13).
 *
 * @param channel   the connector, counted from 1; ZEL_XSTAT_GetTedsStatus counts it from 0
 * @param tid       receives the identifier of the TEDS: 16 hexadecimal digits, least significant
 *                  byte first, and a NUL; 17 bytes
 * @param data      receives the bytes
 * @param length    receives their number, also when they do not fit
 * @param capacity  size of data in bytes; as many bytes as that fit
 * @return ZEL_OK; started codes; ZEL_SRV_INVALID_PARAMETERS (channel 0); ZEL_SRV_BUFFER_TOO_SMALL
 *         (nothing but length is set); ZEL_PARAM_XML_ERROR and ZEL_UTIL_STRING_CONVERSION (the
 *         answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XPAR_ReadTedsBinary(uint64_t uuid, uint32_t channel, char* tid, void* data,
                                        uint64_t* length, uint64_t capacity);

/**
 * Writes the TEDS memory of the sensor at a connector (1/14). Where the module refuses the data as
 * too long, trailing zero bytes are dropped and the rest is sent once more.
 *
 * @param channel  the connector, counted from 1
 * @param tid      receives the identifier that the module assigned, as for ZEL_XPAR_ReadTedsBinary;
 *                 17 bytes
 * @param data     the bytes
 * @param length   their number
 * @return ZEL_OK; started codes (null tid); ZEL_SRV_INVALID_PARAMETERS (null data, too many,
 * channel 0); ZEL_PARAM_XML_ERROR and ZEL_UTIL_STRING_CONVERSION (the answer makes no sense);
 * request codes
 * @threads any; blocks for the request time, twice when the data are sent again
 */
ZEL_API int32_t ZEL_XPAR_WriteTedsBinary(uint64_t uuid, uint32_t channel, char* tid,
                                         const void* data, uint64_t length);

/**
 * The explanation that came with the last failed request to any module; empty when the module gave
 * none.
 *
 * @param text    receives a pointer to the text. The library owns it: it is valid until the next
 *                failed request to that module, until newer ones push it out (see "Texts and
 *                buffers" above), or ZEL_Unload
 * @param length  receives its length in bytes
 * @return ZEL_OK; started codes
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XPAR_GetLastErrMsg(const char** text, uint64_t* length);

/**
 * The same as ZEL_XPAR_GetLastErrMsg, for the module `uuid`; empty when it never failed.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XPAR_GetLastErrMsgByUuid(uint64_t uuid, const char** text, uint64_t* length);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XCTRL_: controls
 *
 * A control is a named command that a module executes (3/1). Unless said otherwise these exports
 * return ZEL_OK, ZEL_SYS_NOT_STARTED or a request code, may be called from any thread, and block
 * for the request time. Connectors, channels, signals, LEDs and generators are counted from 0 in
 * all of them. What the plain numbers mean beyond their order is the module's.
 * --------------------------------------------------------------------------------------------- */

/**
 * Executes a control with text parameters; what the module answers is dropped.
 *
 * @param control     name of the control, in capitals
 * @param ignored     pass 0
 * @param count       number of parameters
 * @param parameters  the parameters in order; may be null when count is 0
 * @return ZEL_OK; started codes (also for a null parameter among them); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_Execute(uint64_t uuid, const char* control, uint64_t ignored,
                                  uint32_t count, const char* const* parameters);

/**
 * Executes a control with a parameter document of the caller's, and returns the module's answer.
 *
 * @param control     name of the control, in capitals
 * @param ignored     pass 0
 * @param parameters  the document: "ControlParams" holding "Par1", "Par2" and so on
 * @param buffer      receives the answer, by the buffer rule; null with a capacity of 0 drops it
 * @param length      receives its length
 * @param capacity    size of buffer in bytes
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_ExecuteXMLPars(uint64_t uuid, const char* control, uint64_t ignored,
                                         const char* parameters, char* buffer, uint64_t* length,
                                         uint64_t capacity);

/**
 * Writes the list of a module's controls into a host file (3/5), by the file rule.
 *
 * @param fileName  name of the file, UTF-8
 * @return ZEL_OK; started codes; ZEL_FILE_OPEN (nothing is sent); ZEL_FILE_WRITE; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_GetControls(uint64_t uuid, const char* fileName);

/**
 * Reads the list of a module's controls (3/5), by the buffer rule.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_GetControlsString(uint64_t uuid, char* buffer, uint64_t* length,
                                            uint64_t capacity);

/**
 * Reads the document of a control (3/2), by the buffer rule.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_ReadXML(uint64_t uuid, const char* control, char* buffer,
                                  uint64_t* length, uint64_t capacity);

/**
 * As ZEL_XCTRL_ReadXML, for the control's schema (3/3).
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_ReadXSD(uint64_t uuid, const char* control, char* buffer,
                                  uint64_t* length, uint64_t capacity);

/**
 * As ZEL_XCTRL_ReadXML, for the control's style sheet (3/4). With a capacity of 0 buffer and length
 * may be null.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_ReadXSLT(uint64_t uuid, const char* control, char* buffer,
                                   uint64_t* length, uint64_t capacity);

/**
 * Reconnects a connector, so that the TEDS of its sensor takes effect ("CONNECTORRECONNECT").
 *
 * @param connector  counted from 0
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_ActivateTeds(uint64_t uuid, uint32_t connector);

/**
 * Zeroes a signal: its present value becomes 0 ("SETZERO").
 *
 * @param connector  counted from 0
 * @param signal     counted from 0
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetZero(uint64_t uuid, uint32_t connector, uint32_t signal);

/**
 * Zeroes a signal to a target: its present value becomes `target`
 * ("SETZERO").
 *
 * @param connector  counted from 0
 * @param signal     counted from 0
 * @param target     in the signal's unit
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetZeroWithTarget(uint64_t uuid, uint32_t connector, uint32_t signal,
                                            double target);

/**
 * Takes a calibration point ("INITADJ").
 *
 * @param connector  counted from 0
 * @param signal     counted from 0
 * @param point      which point, as the module numbers them
 * @param value      the value that is applied
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetCalPoint(uint64_t uuid, uint32_t connector, uint32_t signal,
                                      int32_t point, double value);

/**
 * Switches the internal data path to calibration ("SETI2STOCAL").
 *
 * @param number  passed on as it is
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetI2SToCal(uint64_t uuid, uint32_t number);

/**
 * Selects an input source ("INPUTSRC").
 *
 * @param connector  counted from 0
 * @param channel    counted from 0
 * @param source     which source, as the module numbers them
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetInputSource(uint64_t uuid, uint32_t connector, uint32_t channel,
                                         uint32_t source);

/**
 * Sets the mode of an LED ("LEDFLASH").
 *
 * @param led   counted from 0
 * @param mode  as the module numbers them
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetLedMode(uint64_t uuid, uint32_t led, uint32_t mode);

/**
 * Does nothing and returns ZEL_OK, also before ZEL_Init; there for hosts that call it.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XCTRL_SetPllVoltage(uint64_t uuid, uint32_t voltage);

/**
 * Sends one CAN frame ("CANTRANSMITUSERCANMSG"): two 32-bit numbers and nine bytes, in the order in
 * which the module's control takes them.
 *
 * @param connector  counted from 0
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_TransmitUserCanMsg(uint64_t uuid, uint32_t connector, uint32_t identifier,
                                             uint8_t byte1, uint8_t byte2, uint8_t byte3,
                                             uint8_t byte4, uint8_t byte5, uint8_t byte6,
                                             uint8_t byte7, uint8_t byte8, uint8_t byte9);

/**
 * Reads the clock of a signal generator ("GETSIGNALGENERATORCLOCK").
 *
 * @param generator  counted from 0
 * @param frequency  receives the clock in hertz; 0 when the call fails or the answer does not tell
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL (an answer of 1024 bytes or more);
 *         ZEL_UTIL_STRING_CONVERSION (what it tells is no number); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_GetSignalGeneratorClock(uint64_t uuid, uint32_t generator,
                                                  double* frequency);

/**
 * Loads the curve of a signal generator ("SETARBITRARYSIGNALGENERATOR"). The whole curve travels in
 * one request.
 *
 * @param generator  counted from 0
 * @param samples    the curve; may be null for a call without one
 * @param count      number of samples
 * @param number1    third parameter of the control, and so on
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XCTRL_SetArbitrarySignalGenerator(uint64_t uuid, uint32_t generator,
                                                      const float* samples, uint64_t count,
                                                      uint32_t number1, uint32_t number2,
                                                      uint32_t number3, uint64_t number4);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XDAQ_: measured values
 *
 * A subscription is opened, filled with signals and finished; then the module records, and its
 * blocks are fetched until the subscription is cleared: OpenSubscription, AddSignal...,
 * FinishSubscription, GetMeasValBlock..., ClearSubscription. Each block is a sequence of records
 * that ZEL_XUTIL_GetDaqHeader finds and ZEL_XUTIL_GetDaqData converts.
 * --------------------------------------------------------------------------------------------- */

/**
 * Opens a module's subscription; nothing is sent. Every subscription of a module begins with this
 * call, also the ones after the first. Whether there is such a module is not asked; of 4096 open
 * subscriptions the oldest goes when another one comes.
 *
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED
 * @threads any; waits for a ZEL_XDAQ_FinishSubscription of the module that is under way
 */
ZEL_API int32_t ZEL_XDAQ_OpenSubscription(uint64_t uuid);

/**
 * Adds a signal to the open subscription; nothing is sent.
 *
 * @param reference     signal reference, which counts from 0: "AnalogIn_Connector0.Signal0"
 * @param userSignalId  number under which the signal's records will come
 * @param blockSize     most elements in one record; above 2000000 it becomes 2000000
 * @return ZEL_OK; started codes; ZEL_FAILED (never opened); ZEL_DAQ_SUBSCRIPTION_STATE (already
 *         finished)
 * @threads any; waits for a ZEL_XDAQ_FinishSubscription of the module that is under way
 */
ZEL_API int32_t ZEL_XDAQ_AddSignal(uint64_t uuid, const char* reference, uint16_t userSignalId,
                                   uint64_t blockSize);

/**
 * Sends the subscription to the module (5/2), which starts it. Whatever the result, the next
 * subscription begins with ZEL_XDAQ_OpenSubscription.
 *
 * @param startTime  time of the first sample, as ZEL_DaqHeader::timeStamp; 0, or a time that has
 *                   passed, for at once
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; ZEL_FAILED (never opened); ZEL_DAQ_SUBSCRIPTION_STATE
 *         (already finished); request codes
 * @threads any; blocks for the request time, and with it the subscription calls for the same
 * module; a disconnect does not wait, but ends it
 */
ZEL_API int32_t ZEL_XDAQ_FinishSubscription(uint64_t uuid, uint64_t startTime);

/**
 * Ends a module's subscription (5/3) and forgets it, whatever the result.
 *
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_ClearSubscription(uint64_t uuid);

/**
 * Fetches the records that a module has ready (5/1).
 *
 * @param buffer    receives the block
 * @param received  receives the length of what was copied, in bytes, never above size; 0 when
 *                  nothing is ready or the request fails
 * @param size      size of buffer in bytes, not 0; the module sends at most so much. A block of
 *                  exactly this size fits
 * @return ZEL_OK; started codes (also for a size of 0); ZEL_SRV_BUFFER_TOO_SMALL (the module sent
 *         more all the same; the buffer is full, and what it holds of the last record is not
 *         found by ZEL_XUTIL_GetDaqHeader); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetMeasValBlock(uint64_t uuid, void* buffer, uint64_t* received,
                                         uint64_t size);

/**
 * Starts to fetch records as ZEL_XDAQ_GetMeasValBlock does, and does not wait for them. The
 * library writes `buffer` and `received` from a thread of its own: both must stay valid until
 * ZEL_XCOM_Async_ReadData or ZEL_XCOM_Async_ReadData_Timeout has returned for the handle.
 *
 * @param buffer    receives the block
 * @param received  receives its length in bytes, also when it does not fit
 * @param size      size of buffer in bytes; here a block of exactly that size fits
 * @param handle    receives the handle of this read
 * @return ZEL_OK; started codes; ZEL_SYS_NO_OBJECT
 * @threads any; waits while another thread is in ZEL_XCOM_Async_ReadData or
 *          ZEL_XCOM_Async_ReadData_Timeout, and 3 s at most for the connection to take the request
 */
ZEL_API int32_t ZEL_XDAQ_Async_GetMeasValBlock(uint64_t uuid, void* buffer, uint64_t* received,
                                               uint64_t size, uint32_t* handle);

/**
 * Reads the current value of one signal (5/7), scaled to its physical unit (scale type 2).
 *
 * @param reference  signal reference, for example "AnalogIn_Connector0.Signal0", or parameter path
 *                   of the signal. What holds a "/" is a path and goes to the module as it is
 * @param value      receives the value, the largest finite double for "no value"; unchanged on
 *                   failure
 * @return ZEL_OK; started codes; ZEL_SIGNAL_UNKNOWN, ZEL_SIGNAL_NOT_SUPPORTED,
 *         ZEL_SIGNAL_NOT_CORRECT (nothing sent); ZEL_PARAM_XML_ERROR and
 *         ZEL_UTIL_STRING_CONVERSION (the answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetMeasVal(uint64_t uuid, const char* reference, double* value);

/**
 * As ZEL_XDAQ_GetMeasVal. `scaleType`: 0 raw counts, 1 the sensor's electrical value, 2 the
 * physical value; the module refuses others.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetMeasValByType(uint64_t uuid, const char* reference, uint32_t scaleType,
                                          double* value);

/**
 * As ZEL_XDAQ_GetMeasVal, for signal `signal` of the analog connector `connector`, both counted
 * from 1.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetAnalogMeasVal(uint64_t uuid, uint32_t connector, uint32_t signal,
                                          double* value);

/**
 * As ZEL_XDAQ_GetMeasVal, for CAN channel `channel` of the amplifier connector `connector`, both
 * counted from 1.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetCanMeasVal(uint64_t uuid, uint32_t connector, uint32_t channel,
                                       double* value);

/**
 * Reads the current values of all signals (5/7), scaled to their physical units.
 *
 * @param enabledOnly  not 0: only the signals that are enabled
 * @param values       receives the values
 * @param count        receives their number, also when they do not fit; 0 on any other failure
 * @param capacity     number of records that values can take, not 0
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL (more signals
 *         than that; `values` is full); ZEL_PARAM_XML_ERROR and ZEL_UTIL_STRING_CONVERSION (the
 *         answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetAllMeasVals(uint64_t uuid, int32_t enabledOnly,
                                        ZEL_MeasuredValue* values, uint64_t* count,
                                        uint64_t capacity);

/**
 * Lists a module's signals (5/6).
 *
 * @param signals   receives the signals
 * @param count     receives their number, also when they do not fit; 0 on any other failure
 * @param capacity  number of records that signals can take, not 0
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL (more signals
 *         than that; `signals` is full); ZEL_PARAM_XML_ERROR (the answer makes no sense); request
 *         codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetSignalList(uint64_t uuid, ZEL_SignalInfo* signals, uint64_t* count,
                                       uint64_t capacity);

/**
 * As ZEL_XDAQ_GetSignalList, with what is needed to subscribe and what each identifier says about
 * its signal.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetSignalListEx(uint64_t uuid, ZEL_SignalInfoEx* signals, uint64_t* count,
                                         uint64_t capacity);

/**
 * Lists a module's signals as text (5/8), by the buffer rule: one line for each signal, ended by a
 * line feed, with reference, name, unit, sample rate in hertz, data type, record kind and 1 or 0
 * for enabled, separated by tabs.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XDAQ_GetSignalListString(uint64_t uuid, char* buffer, uint64_t* length,
                                             uint64_t capacity);

/**
 * Activates a trigger: a condition on a module that ZEL_XDAQ_WaitForTrigger waits for. The text
 * names the trigger in all three trigger exports; it is a list of key=value pairs, separated by
 * blanks, in any order. A condition on a status, or on the physical value of a signal:
 *
 *     "uuid=0x1234 connector=1 channel=1 signal=1 status=7 value=1"
 *     "uuid=0x1234 reference=AnalogIn_Connector0.Signal0 above=9.5"
 *
 * Connector, channel and signal count from 1, as in ZEL_StatusEntry. Numbers are decimal, whole
 * ones also hexadecimal behind "0x". Without `connector`, `channel` or `signal` any will do;
 * without `value` any value but 0 will do. `reference` is a signal reference or a parameter path;
 * with both `above` and `below` the value must lie between them. Activating a trigger that is
 * active changes nothing.
 *
 * @param trigger  the text
 * @return ZEL_OK; started codes; ZEL_SRV_INVALID_PARAMETERS (not such a text)
 * @threads any; returns at once; nothing is sent
 */
ZEL_API int32_t ZEL_XDAQ_ActivateTrigger(const char* trigger);

/**
 * Forgets a trigger. A wait for it ends with ZEL_DAQ_TRIGGER_UNKNOWN, also when the trigger is
 * activated anew at once.
 *
 * @return ZEL_OK; started codes; ZEL_DAQ_TRIGGER_UNKNOWN (not active);
 *         ZEL_SRV_INVALID_PARAMETERS (not such a text)
 * @threads any; returns at once; nothing is sent
 */
ZEL_API int32_t ZEL_XDAQ_ClearTrigger(const char* trigger);

/**
 * Waits until the condition of a trigger holds: asks for the module's status (2/3) or the signal's
 * value (5/7) at once and then every 100 ms, never more often. The trigger stays active. Unlike
 * other exports this one may be under way when ZEL_Unload is called, which ends the wait and then
 * takes up to one request time longer.
 *
 * @param timeoutMs  longest time to wait, in milliseconds; 0 asks once
 * @param trigger    text of an active trigger
 * @param event      receives what fulfilled the condition; unchanged otherwise
 * @return ZEL_OK; started codes; ZEL_DAQ_TRIGGER_UNKNOWN (not active, or cleared meanwhile);
 *         ZEL_SRV_INVALID_PARAMETERS (not such a text); ZEL_UTIL_WAIT_TIMEOUT;
 *         ZEL_SYS_NOT_STARTED (also when ZEL_Unload came meanwhile); ZEL_SIGNAL_UNKNOWN,
 *         ZEL_SIGNAL_NOT_SUPPORTED, ZEL_SIGNAL_NOT_CORRECT; ZEL_PARAM_XML_ERROR and
 *         ZEL_UTIL_STRING_CONVERSION (the answer makes no sense); request codes
 * @threads any; blocks for timeoutMs plus one request time
 */
ZEL_API int32_t ZEL_XDAQ_WaitForTrigger(uint32_t timeoutMs, const char* trigger,
                                        ZEL_TriggerEvent* event);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XSTAT_: status and topology
 * --------------------------------------------------------------------------------------------- */

/**
 * Reads a module's errors (2/2). Errors beyond the list's size are left out.
 *
 * @param list  receives the errors; its count is 0 on failure
 * @return ZEL_OK; started codes; ZEL_PARAM_XML_ERROR (the answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetErrorStatus(uint64_t uuid, ZEL_ErrorList* list);

/**
 * As ZEL_XSTAT_GetErrorStatus, up to 550 errors.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetErrorStatusEx(uint64_t uuid, ZEL_ErrorListEx* list);

/**
 * Reads a module's errors as the module words them (2/2), by the buffer rule. With a capacity of 0
 * buffer and length may be null.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetErrorStatusString(uint64_t uuid, char* buffer, uint64_t* length,
                                               uint64_t capacity);

/**
 * Reads a module's status (2/3). Entries beyond the list's size are left out.
 *
 * @param list  receives the entries; its count is 0 on failure
 * @return ZEL_OK; started codes; ZEL_PARAM_XML_ERROR (the answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetModuleStatus(uint64_t uuid, ZEL_StatusList* list);

/**
 * As ZEL_XSTAT_GetModuleStatus, up to 550 entries.
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetModuleStatusEx(uint64_t uuid, ZEL_StatusListEx* list);

/**
 * Reads a module's status as the module words it (2/3), by the buffer rule. With a capacity of 0
 * buffer and length may be null.
 *
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetModuleStatusString(uint64_t uuid, char* buffer, uint64_t* length,
                                                uint64_t capacity);

/**
 * Reads the state of the TEDS on a connector (2/4). The two texts are cut to fit, whatever the
 * result, and their lengths tell what they would need.
 *
 * @param connector        counted from 0; ZEL_XPAR_ReadTedsBinary counts it from 1
 * @param status           receives the state, as the module numbers it
 * @param error            receives the module's error text
 * @param errorLength      receives its whole length
 * @param errorCapacity    size of error in bytes, at least 1
 * @param warning          receives the module's warning text
 * @param warningLength    receives its whole length
 * @param warningCapacity  size of warning in bytes, at least 1
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL (a text was cut); ZEL_PARAM_XML_ERROR
 *         and ZEL_UTIL_STRING_CONVERSION (the answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSTAT_GetTedsStatus(uint64_t uuid, uint32_t connector, uint32_t* status,
                                        char* error, uint64_t* errorLength, uint64_t errorCapacity,
                                        char* warning, uint64_t* warningLength,
                                        uint64_t warningCapacity);

/**
 * Lists the modules that are connected to a module (2/1), or to the library itself.
 *
 * @param uuid      module; ZEL_NO_MODULE or ZEL_XCOM_GetOwnUUID lists the library's connections
 * @param modules   receives the modules; their reserved bytes are left as they are
 * @param count     receives their number; 0 on every failure, also before ZEL_Init
 * @param capacity  number of records that modules can take, not 0
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL (more modules
 *         than that); ZEL_PARAM_XML_ERROR and ZEL_UTIL_STRING_CONVERSION (the answer makes no
 *         sense); request codes
 * @threads any; blocks for the request time; at once for the library's connections
 */
ZEL_API int32_t ZEL_XSTAT_GetConnectedModules(uint64_t uuid, ZEL_ConnectedModule* modules,
                                              uint64_t* count, uint64_t capacity);

/**
 * Writes the topology of the library's connections into a host file, by the file rule: "Topology"
 * with one "Leaf" for each connection holding "Uuid" and "DevType".
 *
 * @param fileName  name of the file, UTF-8
 * @return ZEL_OK; started codes; ZEL_FILE_OPEN; ZEL_FILE_WRITE
 * @threads any; nothing is sent
 */
ZEL_API int32_t ZEL_XSTAT_GetTopology(const char* fileName);

/**
 * The topology of the library's connections as a document, by the buffer rule.
 *
 * @return ZEL_OK; started codes (also for a capacity of 0); ZEL_SRV_BUFFER_TOO_SMALL
 * @threads any; nothing is sent
 */
ZEL_API int32_t ZEL_XSTAT_GetTopologyString(char* buffer, uint64_t* length, uint64_t capacity);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XSYS_: restart, firmware, files, diagnostics
 * --------------------------------------------------------------------------------------------- */

/**
 * Restarts a module (6/12), always cold.
 *
 * @param ignored  pass 0
 * @param cold     exactly 1: sent by datagrams as by ZEL_XCOM_ReadNetSetting, so that a module
 *                 without a connection is reached; else sent on the module's connection, which is
 *                 closed afterwards
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; request codes, by datagrams ZEL_TRANS_TIMEOUT_RESPONSE where
 *         no such module is in the network
 * @threads any; blocks for the request time; by datagrams for 6 s at most
 */
ZEL_API int32_t ZEL_XSYS_DoRestartSystem(uint64_t uuid, uint32_t ignored, int32_t cold);

/**
 * Reads the result of a background service (6/18).
 *
 * @param service   number of the service
 * @param ignored   pass 0
 * @param buffer    receives the result, by the buffer rule
 * @param length    receives its length
 * @param capacity  size of buffer in bytes
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSYS_GetBackgroundServiceResult(uint64_t uuid, uint32_t service,
                                                    uint32_t ignored, char* buffer,
                                                    uint64_t* length, uint64_t capacity);

/**
 * Transfers the firmware images of a folder to a module (6/14 and 6/1 for each);
 * ZEL_XSYS_StartFlashing starts the update afterwards. Images that the folder does not hold are
 * left out.
 *
 * @param folder  host folder with the images, UTF-8
 * @return ZEL_OK; started codes; ZEL_FILE_NOT_FOUND (not one image in the folder); ZEL_FILE_OPEN;
 *         ZEL_FILE_READ; ZEL_SYS_FILE_TOO_LARGE; request codes. Images sent before a failure stay
 *         on the module
 * @threads any, one transfer at a time; blocks for the transfer of all images
 */
ZEL_API int32_t ZEL_XSYS_WriteFirmware(uint64_t uuid, const char* folder);

/**
 * Starts to flash the firmware that was transferred (6/3).
 *
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; request codes
 * @threads any; blocks for the request time, not until the flashing is done
 */
ZEL_API int32_t ZEL_XSYS_StartFlashing(uint64_t uuid);

/**
 * As ZEL_XSYS_StartFlashing, for the processor of one channel (6/15).
 *
 * @param channel  counted from 0
 * @threads any; blocks for the request time, not until the flashing is done
 */
ZEL_API int32_t ZEL_XSYS_StartMSPFlashing(uint64_t uuid, uint32_t channel);

/**
 * Reads how far the flashing is (6/4).
 *
 * @param status    receives the state, as the module numbers it
 * @param progress  receives the progress in percent
 * @return ZEL_OK; started codes; ZEL_PARAM_XML_ERROR and ZEL_SYS_NO_OBJECT (the answer makes no
 *         sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSYS_GetFlashStatus(uint64_t uuid, uint32_t* status, uint32_t* progress);

/**
 * Copies a host file to a module (6/19, then 6/20). The module's file is moduleFolder + "/" +
 * moduleFile, or moduleFile alone when the folder is empty.
 *
 * @param hostFile      host file to read, UTF-8
 * @param moduleFolder  folder on the module; may be ""
 * @param moduleFile    file name on the module
 * @return ZEL_OK; started codes; ZEL_FILE_OPEN; ZEL_FILE_READ; ZEL_SYS_FILE_TOO_LARGE (more than
 *         4294967291 bytes); request codes
 * @threads any; blocks for the transfer
 */
ZEL_API int32_t ZEL_XSYS_WriteFile(uint64_t uuid, const char* hostFile, const char* moduleFolder,
                                   const char* moduleFile);

/**
 * Copies a file of a module to the host (6/19, then 6/21); see ZEL_XSYS_WriteFile.
 *
 * @param moduleFolder  folder on the module; may be ""
 * @param moduleFile    file name on the module
 * @param hostFile      host file to write, UTF-8, by the file rule
 * @return ZEL_OK; started codes; ZEL_FILE_OPEN (nothing is sent); ZEL_FILE_WRITE; request codes
 * @threads any; blocks for the transfer
 */
ZEL_API int32_t ZEL_XSYS_ReadFile(uint64_t uuid, const char* moduleFolder, const char* moduleFile,
                                  const char* hostFile);

/**
 * Asks for debug information (6/17).
 *
 * @param debugId     what is asked for
 * @param parameter1  parameters of the question, to parameter5; "" where there is none
 * @param buffer      receives the answer, terminated
 * @param capacity    size of buffer in bytes
 * @return ZEL_OK; started codes; ZEL_SRV_BUFFER_TOO_SMALL (the buffer is empty then);
 *         ZEL_PARAM_XML_ERROR (the answer makes no sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSYS_RequestDebugInfo(uint64_t uuid, uint32_t debugId, const char* parameter1,
                                          const char* parameter2, const char* parameter3,
                                          const char* parameter4, const char* parameter5,
                                          char* buffer, uint64_t capacity);

/**
 * Makes a signal give a value that is not measured (6/9).
 *
 * @param connector  counted from 0
 * @param channel    counted from 0; 0 where the connector has no channels
 * @param signal     counted from 0
 * @param mode       as the module numbers them; 0 ends the simulation
 * @param value      the value, in the signal's unit
 * @return ZEL_OK; ZEL_SYS_NOT_STARTED; request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSYS_SetSimValue(uint64_t uuid, uint32_t connector, uint32_t channel,
                                     uint32_t signal, uint32_t mode, double value);

/**
 * Reads two calibration values of a Tr620 module (6/24).
 *
 * @param connector  counted from 0
 * @param calUg      receives "Tr620CalUg"; both are set on success only
 * @param measUx     receives "Tr620MeasUx"
 * @return ZEL_OK; started codes; ZEL_PARAM_XML_ERROR and ZEL_SYS_NO_OBJECT (the answer makes no
 *         sense); request codes
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSYS_GetTr620CalUgMeasUx(uint64_t uuid, uint32_t connector, uint32_t* calUg,
                                             uint32_t* measUx);

/**
 * As ZEL_XSYS_GetTr620CalUgMeasUx, for "Tr620Rg" and "Tr620Rx" (6/22).
 *
 * @threads any; blocks for the request time
 */
ZEL_API int32_t ZEL_XSYS_GetTr620RgRx(uint64_t uuid, uint32_t connector, uint32_t* rg,
                                      uint32_t* rx);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XUTIL_: texts, version
 * --------------------------------------------------------------------------------------------- */

/**
 * The text of a result code.
 *
 * @return the text, which lives as long as the library file is loaded; "## text missing ##" for a
 *         code without one; "ERR_SYS_FRAMEWORK_START" before ZEL_Init; never null
 * @threads any; returns at once
 */
ZEL_API const char* ZEL_XUTIL_GetText(int32_t code);

/**
 * The text of a result code; the module is asked (6/23) for one that the library does not know.
 *
 * @param uuid  module that returned the code
 * @return the text as for ZEL_XUTIL_GetText; empty when the module does not know it either. A text
 *         from the module is valid until the next call, or ZEL_Unload, only; never null
 * @threads one at a time; blocks for the request time when the module is asked
 */
ZEL_API const char* ZEL_XUTIL_GetTextFromModule(uint64_t uuid, int32_t code);

/**
 * The reason why a document, of a caller or of a module, did not parse: what is wrong, and at which
 * byte, counted from 0. Belongs to the last failure of any thread.
 *
 * @return the text, always at the same address, valid until the next failure; empty before the
 *         first; never null; works before ZEL_Init
 * @threads read it while no other call that parses is running; returns at once
 */
ZEL_API const char* ZEL_XUTIL_GetLastXmlError(void);

/**
 * The version of the library file, four numbers joined by ".", from its version resource on
 * Windows.
 *
 * @return the text, which lives as long as the library file is loaded; never null; works before
 *         ZEL_Init
 * @threads any; returns at once
 */
ZEL_API const char* ZEL_XUTIL_GetDllVersion(void);

/**
 * Does nothing and returns ZEL_OK, also before ZEL_Init; there for hosts that call it.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_SetWorkDir(const char* folder);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XUTIL_: paths
 *
 * The composers write the location of a setting in a module's parameter document into `buffer`,
 * which the caller owns and of which `size` is the size in bytes with room for the NUL. All of them
 * work before ZEL_Init and after ZEL_Unload, return at once and may be called from any number of
 * threads at the same time. They do NOT follow the buffer rule: a path that does not fit is cut to
 * size - 1 bytes, still with ZEL_OK. `length` may be null; it receives the number of bytes written
 * without the NUL, so that a length of size - 1 says that the path was cut, or just fitted.
 * ZEL_PATH_SIZE bytes are enough for every path.
 *
 * They return ZEL_OK; ZEL_SYS_BAD_PARAMETER (null buffer or a size of 0); or ZEL_SYS_NO_OBJECT (out
 * of memory). Nothing is written unless the result is ZEL_OK.
 *
 * `connector`, `channel`, `signal` and `index` are written in decimal exactly as passed; a module's
 * documents count them from 1. `type` is one of ZEL_CONNECTOR_ANALOG to ZEL_CONNECTOR_FIBER; none
 * is refused, any other value gives the path of an analog signal (ZEL_XUTIL_ComposeSensorPath
 * excepted).
 * --------------------------------------------------------------------------------------------- */

/**
 * Path of a connector's channel, for connector 2 and channel 5
 *
 *   Amplifier/Connector[@address="2"]/Mode[@choice="AnalogInChannel"]/AnalogInChannel
 *   Amplifier/Connector[@address="2"]/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="5"]
 *
 * and so on. An analog connector has one channel only, and `channel` is not used.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeChannelPath(uint32_t connector, uint32_t channel, uint32_t type,
                                             char* buffer, uint64_t size, uint64_t* length);

/**
 * Path of the sensor on a channel: the channel's path and "/Sensor", "/CanSensor" (both CAN types)
 * or "/Fiber". An empty text, with ZEL_OK, for any other type.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeSensorPath(uint32_t connector, uint32_t channel, uint32_t type,
                                            char* buffer, uint64_t size, uint64_t* length);

/**
 * Path of a signal, with the connector's number in the element's name: for connector 1, channel 2
 * and signal 3, in the order of the types
 *
 *   Amplifier/Connector1/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="3"]
 *   Amplifier/Connector1/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="2"]/AsyncSignal
 *   AdditionalConnector/Connector[@address="1"]/Mode/CanBus/CanInChannel[@address="2"]/AsyncSignal
 *   AdditionalConnector/Connector1/Mode[@choice="Fiber"]/Fiber/FiberChannel[@address="2"]
 *       /SyncSignal[@address="3"]
 *
 * (the last one in one line). Additional CAN connectors have the address form only; the CAN types
 * do not use `signal`, the analog one does not use `channel`.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeSignalPath(uint32_t connector, uint32_t channel, uint32_t signal,
                                            uint32_t type, char* buffer, uint64_t size,
                                            uint64_t* length);

/**
 * Path "/Amplifier/Connector2/Mode/AnalogInChannel" of amplifier connector 2; the only one that
 * begins with "/".
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeAmplifierPath(uint32_t connector, char* buffer, uint64_t size);

/**
 * Path of the alarms, "AdditionalFunction/Alarm".
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeAlarmPath(char* buffer, uint64_t size, uint64_t* length);

/**
 * Path of the gates, "AdditionalFunction/Gate".
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeGatePath(char* buffer, uint64_t size, uint64_t* length);

/**
 * Path of the peak units, "AdditionalFunction/Peak".
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposePeakPath(char* buffer, uint64_t size, uint64_t* length);

/**
 * Path "AdditionalFunction/Math/MathIndex[@address="7"]" of math unit 7; mind the order of the
 * arguments.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeMathIndexPath(char* buffer, uint64_t size, uint64_t* length,
                                               uint32_t index);

/**
 * Path "AdditionalFunction/Peak/PeakIndex[@address="7"]" of peak unit 7; mind the order of the
 * arguments.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposePeakIndexPath(char* buffer, uint64_t size, uint64_t* length,
                                               uint32_t index);

/**
 * Takes a signal's path or reference apart. It knows analog and CAN signals: the paths of
 * ZEL_XUTIL_ComposeSignalPath (ZEL_CONNECTOR_FIBER excepted), those below "Amplifier" also with
 * `Connector[@address="1"]` for `Connector1`, and references like "AnalogIn_Connector0.Signal0" and
 * "CanReceiver_Connector0.Decoder0.Signal0". The whole text must match, case included.
 *
 * What the text says counts from 0 and the results count from 1: each number read comes out one
 * higher, those of paths too. "AnalogIn_Connector0.Signal0" gives connector 1, channel 1, signal 1,
 * ZEL_CONNECTOR_ANALOG; the path that ZEL_XUTIL_ComposeSignalPath makes for connector 1 gives
 * connector 2, so take 1 off what comes of a path.
 *
 * A number may stand behind blanks and a sign and is counted in 32 bits, so that 4294967295 and -1
 * come out as 0. A larger one is not recognised.
 *
 * @param path       path or reference, NUL-terminated, of any length; any bytes are safe
 * @param ignored    pass 0
 * @param connector  receives the connector
 * @param channel    receives the channel, for CanReceiver references the decoder; 1 for analog
 *                   signals
 * @param signal     receives the signal; 1 for CAN signals
 * @param type       receives ZEL_CONNECTOR_ANALOG, ZEL_CONNECTOR_CAN (paths below "Amplifier") or
 *                   ZEL_CONNECTOR_CAN_ADDITIONAL (other paths, and references)
 * @return ZEL_OK; ZEL_FAILED (not recognised; all four results become 0); or, with the results as
 *         they were, ZEL_SYS_BAD_PARAMETER (a null pointer) or ZEL_SYS_NO_OBJECT (out of memory)
 * @threads any number at the same time; returns at once, also before ZEL_Init and after ZEL_Unload
 */
ZEL_API int32_t ZEL_XUTIL_ParseSignalPath(const char* path, uint32_t ignored, uint32_t* connector,
                                          uint32_t* channel, uint32_t* signal, uint32_t* type);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XUTIL_: sensor, signal and gate documents
 *
 * All of these work before ZEL_Init, return at once and may be called from any thread.
 *
 * The composers write into `buffer` by the buffer rule and return ZEL_OK, ZEL_SYS_BAD_PARAMETER
 * (null pointer or a capacity of 0), ZEL_SRV_BUFFER_TOO_SMALL, ZEL_SRV_INVALID_PARAMETERS (a text
 * without NUL, one that is not UTF-8 or holds control characters other than tabs and line ends, a
 * number that is not finite, a value that is none of the listed ones) or ZEL_UNIT_NOT_FOUND (a unit
 * code that is not in the table). On failure the buffer is an empty text, and `length` is 0, or
 * what is needed where the buffer is too small.
 *
 * The parsers take a terminated document and return ZEL_OK, ZEL_SYS_BAD_PARAMETER (null pointer),
 * ZEL_PARAM_XML_ERROR (does not parse, or has another root; ZEL_XUTIL_GetLastXmlError tells why),
 * ZEL_UTIL_STRING_CONVERSION (a number that is none), ZEL_SRV_INVALID_PARAMETERS (a value that is
 * none of the listed ones, or a text that does not fit its field or could not be composed again) or
 * ZEL_UNIT_NOT_FOUND. An element
 * that is missing gives 0 or an empty text; unknown elements are skipped. On failure the record is
 * zeroed.
 *
 * Each field of a record is one element named like the field with a capital first letter, in the
 * record's order; a ZEL_Range has two children, "Minimum" and "Maximum". A unit is its name, and
 * does not appear where the code is 0; reserved fields never appear. The listed values are words:
 * "Standard" and "Extended", "LittleEndian" and "BigEndian", "Unsigned", "Signed", "Real32" and
 * "Real64", "Inside" and "Outside"; `active` is "1" or "0". Numbers have a decimal point whatever
 * the locale, and may be hexadecimal with "0x" in front; the parsers accept blanks around them.
 * --------------------------------------------------------------------------------------------- */

/**
 * Composes the document "Sensor".
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeSensor(const ZEL_Sensor* sensor, char* buffer, uint64_t* length,
                                        uint64_t capacity);

/**
 * Reads what ZEL_XUTIL_ComposeSensor composes.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ParseSensor(const char* document, ZEL_Sensor* sensor);

/**
 * Composes the document "CanSensor".
 *
 * @return also the ZEL_CAN_... code of the rule that the bits, the identifier or the data type
 *         break; ZEL_SRV_INVALID_PARAMETERS where modeValue has more bits than modeLength says
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeCanSensor(const ZEL_CanSensor* sensor, char* buffer,
                                           uint64_t* length, uint64_t capacity);

/**
 * Reads what ZEL_XUTIL_ComposeCanSensor composes; the same rules hold.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ParseCanSensor(const char* document, ZEL_CanSensor* sensor);

/**
 * Composes the document "SyncSignal", whose attribute "address" is the signal's number.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeSignal(const ZEL_Signal* signal, char* buffer, uint64_t* length,
                                        uint64_t capacity);

/**
 * Reads what ZEL_XUTIL_ComposeSignal composes.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ParseSignal(const char* document, ZEL_Signal* signal);

/**
 * Composes the document "AsyncSignal", whose attribute "address" is the channel's number.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeCanSignal(const ZEL_CanSignal* signal, char* buffer,
                                           uint64_t* length, uint64_t capacity);

/**
 * Reads what ZEL_XUTIL_ComposeCanSignal composes.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ParseCanSignal(const char* document, ZEL_CanSignal* signal);

/**
 * Composes the document "GateIndex", whose attribute "address" is the gate's number.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ComposeGateIndex(const ZEL_GateIndex* gate, char* buffer,
                                           uint64_t* length, uint64_t capacity);

/**
 * Reads what ZEL_XUTIL_ComposeGateIndex composes.
 *
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ParseGateIndex(const char* document, ZEL_GateIndex* gate);

/**
 * Reads the messages of a module's error reply, as ZEL_XPAR_GetLastErrMsg gives it: "Reply" with
 * one "Message" each, which carries its "Type" as an attribute or as a child and its text as
 * content.
 *
 * @param document  the reply, terminated
 * @param messages  receives the messages
 * @param count     receives their number, also when they did not fit
 * @param capacity  number of records that messages can take
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER (null pointer); ZEL_PARAM_XML_ERROR (not a reply);
 *         ZEL_SRV_BUFFER_TOO_SMALL (the first `capacity` messages are there); works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_ParseErrors(const char* document, ZEL_ReplyMessage* messages,
                                      uint64_t* count, uint64_t capacity);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XUTIL_: units
 * --------------------------------------------------------------------------------------------- */

/**
 * The code of a unit. Upper and lower case differ; "&#181;" and "&#xB5;" stand for their character,
 * which works for the four beyond ASCII that units have. Any other "&" makes a name unknown.
 *
 * @param name  name of the unit, UTF-8
 * @return the code, above 0; ZEL_SYS_BAD_PARAMETER; ZEL_UNIT_NOT_FOUND; works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_GetUnitCodeFromName(const char* name);

/**
 * The name of a unit.
 *
 * @return the name, UTF-8, valid until the next call; empty for an unknown code; never null; works
 *         before ZEL_Init
 * @threads one at a time; returns at once
 */
ZEL_API const char* ZEL_XUTIL_GetUnitNameFromCode(uint32_t code);

/* ------------------------------------------------------------------------------------------------
 * ZEL_XUTIL_: measured-value blocks
 * --------------------------------------------------------------------------------------------- */

#define ZEL_DAQ_BY_SIGNAL UINT32_C(0) /**< key is a user signal id */
#define ZEL_DAQ_BY_INDEX UINT32_C(1)  /**< key is the record's position in the block, from 0 */

/**
 * Finds a record in a block and converts its header.
 *
 * @param mode    ZEL_DAQ_BY_SIGNAL (the first record of that signal) or ZEL_DAQ_BY_INDEX; any other
 *                mode finds nothing
 * @param key     what is looked for
 * @param block   block from ZEL_XDAQ_GetMeasValBlock
 * @param size    its length in bytes, as received
 * @param header  receives the header; zeroed when the block ends without such a record
 * @param offset  receives the position of the record's data in the block, in bytes; 0 when not
 *                found
 * @return ZEL_OK; ZEL_SYS_BAD_PARAMETER; ZEL_DAQ_NO_RECORD (no such record, or not a valid block);
 *         works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_GetDaqHeader(uint32_t mode, uint32_t key, const void* block,
                                       uint64_t size, ZEL_DaqHeader* header, uint64_t* offset);

/**
 * Converts the data of a record to the host's byte order. Only whole elements are converted; a data
 * type that the library does not know is copied as it is.
 *
 * @param offset   position of the data, from ZEL_XUTIL_GetDaqHeader
 * @param block    the same block
 * @param header   the record's header, from ZEL_XUTIL_GetDaqHeader
 * @param output   receives the elements
 * @param size     size of output in bytes
 * @return always ZEL_OK; nothing happens for a null pointer; works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_GetDaqData(uint64_t offset, const void* block,
                                     const ZEL_DaqHeader* header, void* output, uint64_t size);

/**
 * The values that stand for "no value". Each pointer may be null.
 *
 * @param real      receives the largest finite double
 * @param integer   receives 0x7FFFFFFF
 * @param unsigned_ receives 0xFFFFFFFF
 * @return ZEL_OK; works before ZEL_Init
 * @threads any; returns at once
 */
ZEL_API int32_t ZEL_XUTIL_GetNilValues(double* real, int32_t* integer, uint32_t* unsigned_);

#ifdef __cplusplus
}
#endif

/* ------------------------------------------------------------------------------------------------
 * Layout of the records
 * --------------------------------------------------------------------------------------------- */

#if defined(__cplusplus) || defined(ZEL_CHECK_LAYOUT)
#include <stddef.h>

#ifdef __cplusplus
#define ZEL_LAYOUT(condition) static_assert(condition, #condition)
#else
#define ZEL_LAYOUT(condition) _Static_assert(condition, #condition)
#endif

ZEL_LAYOUT(sizeof(ZEL_ErrorEntry) == 148);
ZEL_LAYOUT(offsetof(ZEL_ErrorEntry, text) == 20);
ZEL_LAYOUT(sizeof(ZEL_ErrorList) == 4 + 256 * 148);
ZEL_LAYOUT(sizeof(ZEL_ErrorListEx) == 4 + 550 * 148);
ZEL_LAYOUT(sizeof(ZEL_StatusEntry) == 152);
ZEL_LAYOUT(offsetof(ZEL_StatusEntry, value) == 16);
ZEL_LAYOUT(offsetof(ZEL_StatusEntry, info) == 24);
ZEL_LAYOUT(offsetof(ZEL_StatusList, entries) == 4);
ZEL_LAYOUT(sizeof(ZEL_StatusList) == 4 + 256 * 152);
ZEL_LAYOUT(sizeof(ZEL_StatusListEx) == 4 + 550 * 152);
ZEL_LAYOUT(sizeof(ZEL_ConnectedModule) == 32);
ZEL_LAYOUT(offsetof(ZEL_ConnectedModule, deviceType) == 8);
ZEL_LAYOUT(offsetof(ZEL_ConnectedModule, activeInterface) == 12);
ZEL_LAYOUT(sizeof(ZEL_SegmentModule) == 176);
ZEL_LAYOUT(offsetof(ZEL_SegmentModule, port) == 16);
ZEL_LAYOUT(offsetof(ZEL_SegmentModule, uuid) == 24);
ZEL_LAYOUT(offsetof(ZEL_SegmentModule, name) == 32);
ZEL_LAYOUT(offsetof(ZEL_SegmentModule, moduleType) == 160);
ZEL_LAYOUT(offsetof(ZEL_SegmentArray, modules) == 8);
ZEL_LAYOUT(sizeof(ZEL_SegmentArray) == 22536);
ZEL_LAYOUT(sizeof(ZEL_DaqHeader) == 24);
ZEL_LAYOUT(offsetof(ZEL_DaqHeader, signalId) == 2);
ZEL_LAYOUT(offsetof(ZEL_DaqHeader, count) == 4);
ZEL_LAYOUT(offsetof(ZEL_DaqHeader, timeStamp) == 8);
ZEL_LAYOUT(offsetof(ZEL_DaqHeader, extra) == 16);
ZEL_LAYOUT(sizeof(ZEL_SignalInfo) == 128);
ZEL_LAYOUT(sizeof(ZEL_SignalInfoEx) == 584);
ZEL_LAYOUT(offsetof(ZEL_SignalInfoEx, path) == 144);
ZEL_LAYOUT(offsetof(ZEL_SignalInfoEx, name) == 400);
ZEL_LAYOUT(offsetof(ZEL_SignalInfoEx, sampleRate) == 560);
ZEL_LAYOUT(offsetof(ZEL_SignalInfoEx, isEnabled) == 576);
ZEL_LAYOUT(sizeof(ZEL_MeasuredValue) == 136);
ZEL_LAYOUT(offsetof(ZEL_TriggerEvent, status) == 8);
ZEL_LAYOUT(sizeof(ZEL_TriggerEvent) == 160);
ZEL_LAYOUT(sizeof(ZEL_Sensor) == 424);
ZEL_LAYOUT(offsetof(ZEL_Sensor, physicalUnit) == 368);
ZEL_LAYOUT(offsetof(ZEL_Sensor, physicalRange) == 376);
ZEL_LAYOUT(sizeof(ZEL_CanSensor) == 272);
ZEL_LAYOUT(offsetof(ZEL_CanSensor, modeValue) == 224);
ZEL_LAYOUT(sizeof(ZEL_Signal) == 112);
ZEL_LAYOUT(sizeof(ZEL_CanSignal) == 104);
ZEL_LAYOUT(sizeof(ZEL_GateIndex) == 224);
ZEL_LAYOUT(sizeof(ZEL_ReplyMessage) == 288);

#undef ZEL_LAYOUT
#endif

#endif
