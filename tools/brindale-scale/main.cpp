// brindale-scale: an emulated scale for trying transfers without a scale.
//
//   brindale-scale [--address A] [--port P] [--name N] [--storage DIR]
//                  [--refuse] [--cut-after N] [--hang] [--garbage]
//                  [--idle-timeout MS]
//
// Prints one line "brindale-scale ready on A:P" when it serves, and runs
// until it gets SIGINT or SIGTERM, when it saves its files and ends.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "emulated_scale.h"

namespace {
void usage(FILE* f) {
    std::fputs(
        "usage: brindale-scale [--address A] [--port P] [--name N] [--storage DIR]\n"
        "                      [--refuse] [--cut-after N] [--hang] [--garbage] [--totals-corners] [--idle-timeout MS]\n"
        "  --address A       IPv4 address to listen on (default 127.0.0.1)\n"
        "  --port P          TCP port (default 7450; 0 picks a free one)\n"
        "  --name N          name the scale gives in its greeting (default EMU)\n"
        "  --storage DIR     keep the files in DIR across restarts (default: memory only)\n"
        "  --refuse          hold the port but refuse every connection\n"
        "  --cut-after N     close the connection after N records of a file\n"
        "  --hang            answer the greeting, then nothing more\n"
        "  --garbage         answer every frame with bytes that are no frame\n"
        "  --totals-corners  end each totals file with a record of the decoders' corners\n"
        "  --idle-timeout MS drop a client silent this long (default 60000)\n",
        f);
}

bool number(const char* s, long long lo, long long hi, long long& out) {
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(s, &end, 10);
    if (errno || !end || *end || end == s || v < lo || v > hi) return false;
    out = v;
    return true;
}
}  // namespace

int main(int argc, char** argv) {
    brindale::scaleemu::ScaleOptions o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "brindale-scale: %s needs a value\n", a.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        long long n = 0;
        if (a == "--address") o.address = value();
        else if (a == "--port") {
            if (!number(value(), 0, 65535, n)) { std::fprintf(stderr, "brindale-scale: bad port\n"); return 2; }
            o.port = uint16_t(n);
        } else if (a == "--name") o.name = value();
        else if (a == "--storage") o.storageDir = value();
        else if (a == "--refuse") o.refuse = true;
        else if (a == "--hang") o.hang = true;
        else if (a == "--garbage") o.garbage = true;
        else if (a == "--totals-corners") o.totalsCorners = true;
        else if (a == "--cut-after") {
            if (!number(value(), 0, 1LL << 40, n)) { std::fprintf(stderr, "brindale-scale: bad record count\n"); return 2; }
            o.cutAfter = n;
        } else if (a == "--idle-timeout") {
            if (!number(value(), 1, 86400000, n)) { std::fprintf(stderr, "brindale-scale: bad time\n"); return 2; }
            o.idleTimeout = std::chrono::milliseconds(n);
        } else if (a == "--help" || a == "-h") {
            usage(stdout);
            return 0;
        } else {
            std::fprintf(stderr, "brindale-scale: unknown option %s\n", a.c_str());
            usage(stderr);
            return 2;
        }
    }

    // Signals are taken by sigwait below, not by whichever thread they hit.
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);

    brindale::scaleemu::EmulatedScale scale(o);
    std::string error;
    if (!scale.start(error)) {
        std::fprintf(stderr, "brindale-scale: %s\n", error.c_str());
        return 1;
    }
    std::printf("brindale-scale ready on %s:%u%s\n", o.address.c_str(), unsigned(scale.port()),
                o.refuse ? " (refusing)" : "");
    std::fflush(stdout);
    int sig = 0;
    sigwait(&set, &sig);
    scale.stop();
    return 0;
}
