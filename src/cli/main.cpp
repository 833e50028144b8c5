// brindale-cli: the entry point. The work is in the library; here the arguments are handed over
// and SIGTERM, SIGINT and SIGHUP become a request to stop (a transfer is cancelled, the run ends
// cleanly through the normal end).
#include <signal.h>
#include <unistd.h>

#include <climits>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "shell/paths.h"

namespace {

void onSignal(int) { brindale::cli::requestStop(); }

std::string executableFolder(const char* argv0) {
    char buf[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
    std::string path = n > 0 ? std::string(buf, size_t(n)) : std::string(argv0 ? argv0 : "");
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

int main(int argc, char** argv) {
    struct sigaction sa {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    for (int s : {SIGTERM, SIGINT, SIGHUP}) ::sigaction(s, &sa, nullptr);
    ::signal(SIGPIPE, SIG_IGN);

    std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    brindale::cli::Environment env;
    env.executableFolder = executableFolder(argc > 0 ? argv[0] : nullptr);
    env.dataHome = brindale::shell::userDataHome();
    const int code = brindale::cli::run(args, std::cout, std::cerr, env);
    std::cout.flush();
    return code;
}
