#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::bench {

/// The largest piece that a segmented answer travels in.
inline constexpr std::size_t kSegmentSize = 61440;

/// A process that answers on the other side of loopback with bytes that it has ready: as little
/// work as a module can do, on a thread for each connection that blocks in recv and send. What it
/// does for the library and for a bare socket is the same.
///
///   1/10 ReadPar     the answer "12.500000"
///   1/1  ReadXML     RESP_PEND and an answer in segments, of `kLongAnswer` bytes in all
///   1/3  ReadXSD     an answer of as many bytes as the view's number says, in segments from 60 KiB
///   5/1  GetMeasValBlock an answer of exactly as many bytes as fit, in segments from 60 KiB; for a
///        single byte it asks for an hour and never answers
///   6/20 WriteFile   taken in segments and answered with nothing, as any other method is
///   a telegram of type kStream, with or without an acknowledge for each chunk: the same number of
///   bytes in the same chunks, bare
class FixedAnswerModule {
public:
    static constexpr std::size_t kLongAnswer = std::size_t{64} << 20;
    static constexpr std::uint8_t kStream = 200;
    static constexpr std::uint8_t kAcknowledgedStream = 201;
    /// The other way round: `kLongAnswer` bytes come in chunks and are acknowledged by four bytes
    /// each.
    static constexpr std::uint8_t kUpload = 202;

    /// Forks; before the process has any other thread.
    FixedAnswerModule();
    ~FixedAnswerModule();
    FixedAnswerModule(const FixedAnswerModule&) = delete;
    FixedAnswerModule& operator=(const FixedAnswerModule&) = delete;

    std::uint16_t port() const { return m_port; }

private:
    std::uint16_t m_port = 0;
    int m_process = -1;
};

FixedAnswerModule& module();

/// A connected, blocking socket without delay for small telegrams.
class BareSocket {
public:
    BareSocket();
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    void send(const std::string& bytes);
    void receive(char* bytes, std::size_t size);

private:
    int m_socket;
};

/// The telegram of a request as the library sends it, and the size of the answer's telegram.
std::string readParTelegram();
std::size_t readParAnswerSize();
std::string streamTelegram(bool isAcknowledged);
std::string uploadTelegram();

} // namespace zel::bench
