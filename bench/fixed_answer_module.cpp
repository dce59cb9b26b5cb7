#include "fixed_answer_module.h"

#include "address_resolution.h"
#include "frame.h"
#include "method_header.h"
#include "transaction_header.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace zel::bench {

namespace {

constexpr std::uint64_t kFirstUuid = 0x1234ab0001;
constexpr char kValue[] = "12.500000";

int makeSocket()
{
    const int made = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(made, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return made;
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

bool receiveAll(int socket, void* bytes, std::size_t size)
{
    auto* position = static_cast<char*>(bytes);
    while (size > 0) {
        const ssize_t count = recv(socket, position, size, 0);
        if (count <= 0)
            return false;
        position += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool sendAll(int socket, const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

/// Header, data and trailer from or to where they are, without a copy.
bool transferParts(int socket, ssize_t (*transfer)(int, msghdr&),
                   std::initializer_list<std::pair<const char*, std::size_t>> parts)
{
    std::array<iovec, 3> left{};
    std::size_t count = 0;
    for (const auto& [bytes, size] : parts)
        left.at(count++) = {const_cast<char*>(bytes), size};
    for (std::size_t next = 0; next < count;) {
        msghdr message{};
        message.msg_iov = &left[next];
        message.msg_iovlen = count - next;
        ssize_t done = transfer(socket, message);
        if (done <= 0)
            return false;
        for (; next < count && done >= static_cast<ssize_t>(left[next].iov_len); ++next)
            done -= static_cast<ssize_t>(left[next].iov_len);
        if (next < count) {
            left[next].iov_base = static_cast<char*>(left[next].iov_base) + done;
            left[next].iov_len -= static_cast<std::size_t>(done);
        }
    }
    return true;
}

bool sendParts(int socket, std::string_view headers, std::string_view data,
               std::string_view trailer)
{
    return transferParts(
        socket, [](int to, msghdr& message) { return sendmsg(to, &message, MSG_NOSIGNAL); },
        {{headers.data(), headers.size()},
         {data.data(), data.size()},
         {trailer.data(), trailer.size()}});
}

template <class Encoded>
void append(std::string& out, const Encoded& bytes)
{
    out.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

std::string telegram(TelegramType type, std::uint64_t source, const std::string& payload)
{
    std::string bytes;
    append(bytes, FrameHeader{.type = type,
                              .payloadLength = static_cast<std::uint16_t>(payload.size()),
                              .source = source}
                      .encode());
    bytes += payload;
    append(bytes, encodeFrameTrailer());
    return bytes;
}

std::string transaction(std::uint64_t source, TransactionType type, std::uint16_t label,
                        std::uint64_t destination, const std::string& rest)
{
    std::string payload;
    append(payload, TransactionHeader{type, label, destination}.encode());
    return telegram(TelegramType::transaction, source, payload + rest);
}

std::string number(std::uint32_t value)
{
    std::array<std::byte, 4> bytes;
    ByteWriter{bytes}.u32(value);
    std::string text;
    append(text, bytes);
    return text;
}

/// One connection of the module's.
class Connection {
public:
    Connection(int socket, std::uint64_t uuid) : m_socket(socket), m_uuid(uuid) {}

    void serve()
    {
        while (auto frame = receiveTelegram())
            answer(*frame);
        ::close(m_socket);
    }

private:
    struct Incoming {
        FrameHeader frame;
        std::string payload;
    };

    std::optional<Incoming> receiveTelegram()
    {
        std::array<std::byte, kFrameHeaderSize> header;
        if (!receiveAll(m_socket, header.data(), header.size()))
            return {};
        Incoming incoming{FrameHeader::decode(header), {}};
        incoming.payload.resize(incoming.frame.payloadLength + kFrameTrailerSize);
        if (!receiveAll(m_socket, incoming.payload.data(), incoming.payload.size()))
            return {};
        incoming.payload.resize(incoming.frame.payloadLength);
        return incoming;
    }

    void answer(const Incoming& incoming)
    {
        if (incoming.frame.type == TelegramType::addressResolution) {
            std::string payload;
            append(payload, AddressResolutionResponse{0, m_uuid}.encode());
            sendAll(m_socket, telegram(TelegramType::addressResolution, m_uuid, payload));
        } else {
            answerRequest(incoming);
        }
    }

    void answerRequest(const Incoming& incoming)
    {
        ByteReader in{asBytes(incoming.payload.data(), incoming.payload.size())};
        const auto header = TransactionHeader::decode(in);
        if (!header)
            return;
        if (header->type == TransactionType::requestSegmentInit) {
            takeSegments(*header, incoming.frame.source, in.u32());
            return;
        }
        const auto request = MethodRequestHeader::decode(in);
        if (!request)
            return;
        std::string response;
        append(response, MethodResponseHeader{request->service, request->method, 0}.encode());
        if (request->service == 1 && request->method == 10)
            response += kValue;
        else if (request->service == 1 && request->method == 1) {
            // Made once: the bare stream has its bytes ready too.
            if (m_longAnswer.empty())
                m_longAnswer = response.append(kLongAnswer - response.size(), 'x');
            sendSegments(*header, incoming.frame.source, m_longAnswer);
            return;
        } else if (request->service == 5 && request->method == 1) {
            // Made once for each size, as above.
            const std::size_t size = numberIn(incoming.payload, "<MaxSize>");
            if (size == 1) {
                askForTime(*header, incoming.frame.source, 3'600'000);
                return;
            }
            if (m_block.size() != size + response.size())
                m_block = response + std::string(size, 'x');
            if (m_block.size() > kSegmentSize) {
                sendSegments(*header, incoming.frame.source, m_block);
                return;
            }
            response = m_block;
        } else if (request->service == 1)
            response.append(numberIn(incoming.payload, "<View>"), 'x');
        if (response.size() > kSegmentSize)
            sendSegments(*header, incoming.frame.source, response);
        else
            sendAll(m_socket, transaction(m_uuid, TransactionType::response, header->label,
                                          incoming.frame.source, response));
    }

    static std::size_t numberIn(const std::string& request, std::string_view element)
    {
        const std::size_t at = request.find(element);
        return at == std::string::npos
                   ? 0
                   : std::strtoul(request.c_str() + at + element.size(), nullptr, 10);
    }

    void takeSegments(const TransactionHeader& request, std::uint64_t host, std::size_t length)
    {
        MethodRequestHeader method;
        for (std::size_t taken = 0; taken < length;) {
            sendAll(m_socket, transaction(m_uuid, TransactionType::requestSegmentAck, request.label,
                                          host, {}));
            const auto segment = receiveTelegram();
            if (!segment || segment->payload.size() <= TransactionHeader::kSize)
                return;
            if (taken == 0) {
                ByteReader in{asBytes(segment->payload.data(), segment->payload.size())};
                in.skip(TransactionHeader::kSize);
                method = MethodRequestHeader::decode(in).value_or(MethodRequestHeader{});
            }
            taken += segment->payload.size() - TransactionHeader::kSize;
        }
        std::string response;
        append(response, MethodResponseHeader{method.service, method.method, 0}.encode());
        sendAll(m_socket,
                transaction(m_uuid, TransactionType::response, request.label, host, response));
    }

    void askForTime(const TransactionHeader& request, std::uint64_t host,
                    std::uint32_t milliseconds)
    {
        sendAll(m_socket, transaction(m_uuid, TransactionType::responsePending, request.label, host,
                                      number(milliseconds)));
    }

    void sendSegments(const TransactionHeader& request, std::uint64_t host,
                      const std::string& response)
    {
        askForTime(request, host, 10000);
        sendAll(m_socket, transaction(m_uuid, TransactionType::responseSegmentInit, request.label,
                                      host, number(static_cast<std::uint32_t>(response.size()))));
        std::string trailer;
        append(trailer, encodeFrameTrailer());
        for (std::size_t sent = 0; sent < response.size() && receiveTelegram();
             sent += kSegmentSize) {
            const auto segment = std::string_view{response}.substr(sent, kSegmentSize);
            std::string headers;
            append(headers, FrameHeader{.type = TelegramType::transaction,
                                        .payloadLength = static_cast<std::uint16_t>(
                                            TransactionHeader::kSize + segment.size()),
                                        .source = m_uuid}
                                .encode());
            append(
                headers,
                TransactionHeader{TransactionType::responseSegment, request.label, host}.encode());
            sendParts(m_socket, headers, segment, trailer);
        }
        receiveTelegram();
    }

    const int m_socket;
    const std::uint64_t m_uuid;
    std::string m_longAnswer;
    std::string m_block;
};

[[noreturn]] void serveForEver(int listening)
{
    std::uint64_t next = kFirstUuid;
    for (;;) {
        const int accepted = accept(listening, nullptr, nullptr);
        if (accepted < 0)
            std::_Exit(1);
        const int on = 1;
        setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::thread{[accepted, uuid = next++] { Connection{accepted, uuid}.serve(); }}.detach();
    }
}

std::uint16_t startModule()
{
    const int listening = makeSocket();
    // Every address of loopback is a module of its own.
    sockaddr_in address = loopback(0);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t length = sizeof address;
    if (bind(listening, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listening, 1024) != 0 ||
        getsockname(listening, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("the module cannot listen on loopback");
    std::thread{serveForEver, listening}.detach();
    return ntohs(address.sin_port);
}

} // namespace

PeerProcess& module()
{
    static PeerProcess instance{startModule};
    return instance;
}

std::string requestTelegram(std::uint16_t service, std::uint16_t method,
                            const std::string& parameters)
{
    std::string rest;
    append(rest, MethodRequestHeader{service, method}.encode());
    rest += R"(<?xml version="1.0" encoding="UTF-8"?><SrvParams>)" + parameters + "</SrvParams>";
    return transaction(1, TransactionType::request, 1, kFirstUuid, rest);
}

std::string readParTelegram()
{
    return requestTelegram(1, 10, "<View>1</View><Path>Amplifier/Range</Path>");
}

std::size_t readParAnswerSize()
{
    return kFrameHeaderSize + TransactionHeader::kSize + MethodResponseHeader::kSize +
           sizeof kValue - 1 + kFrameTrailerSize;
}

BareSocket::BareSocket() : m_socket(makeSocket())
{
    const sockaddr_in address = loopback(module().port());
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("the module cannot be reached");
}

BareSocket::~BareSocket()
{
    ::close(m_socket);
}

void BareSocket::exchange(const std::string& request, std::size_t answer, char* buffer)
{
    static const std::string acknowledge =
        transaction(1, TransactionType::responseSegmentAck, 1, kFirstUuid, {});
    send(request);
    if (answer <= kSegmentSize) {
        receive(buffer, answer);
        return;
    }
    char number[4];
    receive(number, sizeof number); // the time that it asks for
    receive(number, sizeof number); // the size of what comes
    for (std::size_t received = 0; received < answer; received += kSegmentSize) {
        send(acknowledge);
        receive(buffer + received, std::min(kSegmentSize, answer - received));
    }
    send(acknowledge);
}

void BareSocket::readPar()
{
    static const std::string request = readParTelegram();
    char answer[MethodResponseHeader::kSize + sizeof kValue - 1];
    exchange(request, sizeof answer, answer);
}

void BareSocket::writeFile(std::size_t size,
                           const std::function<void(char* data, std::size_t size)>& read)
{
    static const std::string name = requestTelegram(6, 19, "<FilePath>bench</FilePath>");
    char answer[MethodResponseHeader::kSize];
    exchange(name, sizeof answer, answer);
    std::string contents;
    append(contents, MethodRequestHeader{6, 20}.encode());
    const std::size_t inFront = contents.size();
    const std::size_t all = inFront + size;
    send(transaction(1, TransactionType::requestSegmentInit, 1, kFirstUuid,
                     number(static_cast<std::uint32_t>(all))));
    for (std::size_t sent = 0; sent < all; sent += kSegmentSize) {
        contents.resize(std::min(kSegmentSize, all - sent));
        const std::size_t from = sent == 0 ? inFront : 0;
        read(contents.data() + from, contents.size() - from);
        const std::string segment =
            transaction(1, TransactionType::requestSegment, 1, kFirstUuid, contents);
        receive(nullptr, 0);
        send(segment);
    }
    receive(answer, sizeof answer);
}

void BareSocket::send(const std::string& bytes)
{
    if (!sendAll(m_socket, bytes))
        throw std::runtime_error("the module does not take a request");
}

void BareSocket::receive(char* data, std::size_t size)
{
    char headers[kFrameHeaderSize + TransactionHeader::kSize];
    char trailer[kFrameTrailerSize];
    const auto receiveSome = [](int from, msghdr& message) { return recvmsg(from, &message, 0); };
    if (!transferParts(m_socket, receiveSome,
                       {{headers, sizeof headers}, {data, size}, {trailer, sizeof trailer}}))
        throw std::runtime_error("the module does not answer");
}

} // namespace zel::bench
