#pragma once
// A test client that fetches one file from a scale with the protocol's READ, as a scale serves
// it: greeting, READ, FILE_BEGIN, DATA batches, FILE_END. Bounded by the link's time limits.
#include <chrono>
#include <string>
#include <vector>

#include "transfer/net.h"
#include "transfer/protocol.h"

namespace brindale::testing {

// The records of `code` on the scale at host:port in the order it serves them; `error` says why
// when the exchange fails (and the result is empty).
inline std::vector<std::vector<uint8_t>> readScaleFile(const std::string& host, uint16_t port, const std::string& code,
                                                       std::string& error) {
    using transfer::proto::Cmd;
    namespace net = transfer::net;
    namespace proto = transfer::proto;
    net::Socket sock;
    net::Limits lim;
    lim.idle = std::chrono::milliseconds(3000);
    proto::FrameParser parser;
    std::vector<std::vector<uint8_t>> out;
    if (net::connectTo(sock, host, port, std::chrono::milliseconds(2000), lim, error) != net::Status::Ok) return {};
    auto send = [&](Cmd c, const std::vector<uint8_t>& p) {
        return net::sendAll(sock, proto::makeFrame(c, p), lim, error) == net::Status::Ok;
    };
    proto::Frame f;
    if (!send(Cmd::Hello, proto::helloReqPayload("test")) ||
        net::recvFrame(sock, parser, f, lim, error) != net::Status::Ok || f.type != uint8_t(Cmd::HelloOk)) {
        error = "no greeting: " + error;
        return {};
    }
    if (!send(Cmd::Read, proto::fileReqPayload(code))) return {};
    for (int frames = 0; frames < 100000; ++frames) {
        if (net::recvFrame(sock, parser, f, lim, error) != net::Status::Ok) return {};
        if (f.type == uint8_t(Cmd::FileBegin)) continue;
        if (f.type == uint8_t(Cmd::FileEnd)) return out;
        if (f.type != uint8_t(Cmd::Data)) {
            error = std::string("unexpected frame ") + proto::cmdName(f.type);
            return {};
        }
        proto::RecordBatch batch;
        if (!proto::parseRecordBatch(f.payload, batch, error)) return {};
        for (const auto& r : batch.records) out.emplace_back(r.data, r.data + r.size);
    }
    error = "too many frames";
    return {};
}

}  // namespace brindale::testing
