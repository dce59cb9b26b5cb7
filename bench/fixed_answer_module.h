#pragma once

#include "peer_process.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace zel::bench {

/// The largest piece that segmented data travel in.
inline constexpr std::size_t kSegmentSize = 61440;

/// A peer that answers on the other side of loopback with bytes that it has ready: as little
/// work as a module can do, on a thread for each connection that blocks in recv and send. What it
/// does for the library and for a bare socket is the same.
///
///   1/10 ReadPar     the answer "12.500000"
///   1/1  ReadXML     RESP_PEND and an answer in segments, of `kLongAnswer` bytes in all
///   1/3  ReadXSD     an answer of as many bytes as the view's number says, in segments from 60 KiB
///   5/1  GetMeasValBlock an answer of exactly as many bytes as fit, in segments from 60 KiB; for a
///        single byte it asks for an hour and never answers
///   6/20 WriteFile   taken in segments and answered with nothing, as any other method is
PeerProcess& module();

/// What ReadXML is answered with; the response header counts.
inline constexpr std::size_t kLongAnswer = std::size_t{64} << 20;
inline constexpr std::size_t kResponseHeaderSize = 8;

/// A request's telegram with the bytes that the library sends.
std::string requestTelegram(std::uint16_t service, std::uint16_t method,
                            const std::string& parameters);
/// The telegram that ReadPar sends, and the size of its answer's.
std::string readParTelegram();
std::size_t readParAnswerSize();

/// A connected, blocking socket without delay for small telegrams, and what a program does on it
/// that knows each answer's size beforehand and looks at nothing: the bytes, turns and acknowledges
/// are the library's.
class BareSocket {
public:
    BareSocket();
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    /// One request and its answer of so many bytes, the response header among them: whole, or in
    /// segments with an acknowledge for each.
    void exchange(const std::string& request, std::size_t answer, char* buffer);
    void readPar();
    /// Reads each segment's data before it is sent.
    void writeFile(std::size_t size, const std::function<void(char* data, std::size_t size)>& read);

private:
    void send(const std::string& bytes);
    /// One telegram with so many bytes of data.
    void receive(char* data, std::size_t size);

    int m_socket;
};

} // namespace zel::bench
