// brindale-cli and the program as processes: the lock between them, SIGTERM, and the README's
// crontab line run as written.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <chrono>
#include <functional>
#include <filesystem>
#include <thread>

#include "cli_fixture.h"

extern char** environ;

namespace fs = std::filesystem;

namespace brindale::testing {
namespace {

const std::string kBuiltCli = std::string(BRINDALE_APP_DIR) + "/brindale-cli";
const std::string kBuiltProgram = std::string(BRINDALE_APP_DIR) + "/brindale";

struct Process {
    pid_t pid = -1;
    std::string outFile, errFile;

    // Starts argv with stdout and stderr to files beside `dir`, and `extraEnv` ("K=V") added.
    static Process start(const std::vector<std::string>& argv, const std::string& dir,
                         const std::vector<std::string>& extraEnv = {}) {
        static int n = 0;
        Process p;
        p.outFile = dir + "/proc" + std::to_string(++n) + ".out";
        p.errFile = dir + "/proc" + std::to_string(n) + ".err";
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        posix_spawn_file_actions_addopen(&fa, 1, p.outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&fa, 2, p.errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char*> args;
        for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        std::vector<std::string> envStrings;
        for (char** e = environ; *e; ++e) {
            const std::string v = *e;
            bool replaced = false;
            for (const auto& x : extraEnv) replaced = replaced || v.rfind(x.substr(0, x.find('=') + 1), 0) == 0;
            if (!replaced) envStrings.push_back(v);
        }
        for (const auto& e : extraEnv) envStrings.push_back(e);
        std::vector<char*> envp;
        for (auto& e : envStrings) envp.push_back(e.data());
        envp.push_back(nullptr);
        if (posix_spawn(&p.pid, args[0], &fa, nullptr, args.data(), envp.data()) != 0) p.pid = -1;
        posix_spawn_file_actions_destroy(&fa);
        return p;
    }
    // The exit status, or -1 when it did not end within `ms` (it is then killed).
    int wait(int ms) {
        for (int i = 0; i < ms / 10; ++i) {
            int status = 0;
            if (::waitpid(pid, &status, WNOHANG) == pid) {
                pid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        kill();
        return -1;
    }
    bool running() const {
        int status = 0;
        return pid > 0 && ::waitpid(pid, &status, WNOHANG) == 0;
    }
    void kill() {
        if (pid > 0) {
            ::kill(pid, SIGKILL);
            int status = 0;
            ::waitpid(pid, &status, 0);
            pid = -1;
        }
    }
    std::string out() const { return readText(outFile); }
    std::string err() const { return readText(errFile); }
    ~Process() { kill(); }
    Process() = default;
    Process(Process&& o) noexcept : pid(o.pid), outFile(o.outFile), errFile(o.errFile) { o.pid = -1; }
};

bool waitFor(const std::function<bool()>& f, int ms) {
    for (int i = 0; i < ms / 20; ++i) {
        if (f()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return f();
}

// ---- the program beside brindale-cli ----

using CliBesideProgram = CliChain;

TEST_F(CliBesideProgram, ExitsThreeNamingTheRunningProgramAndASecondProgramEndsSilently) {
    const std::string program = dir() + "/brindale";
    fs::copy_file(kBuiltProgram, program, fs::copy_options::overwrite_existing);
    const std::string logs = dir() + "-logs";
    fs::create_directories(logs);
    Process first = Process::start({program}, logs, {"QT_QPA_PLATFORM=offscreen"});
    ASSERT_GT(first.pid, 0);
    ASSERT_TRUE(waitFor([&] { return fs::exists(path("Database/Brindale1.mdb")) && !fs::exists(path("Database/Brindale1_.mdb")); },
                        30000));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));

    Process c = Process::start({kBuiltCli, "--app-folder", dir(), "send", "--store", "1", "--tables", "25"}, logs);
    EXPECT_EQ(c.wait(20000), 3) << c.err();
    EXPECT_NE(c.err().find("is in use by brindale (process " + std::to_string(first.pid) + ")"), std::string::npos)
        << c.err();
    for (auto& s : scales) EXPECT_EQ(s->stats().connections.load(), 0u);

    const auto before = folderBytes(dir());
    Process second = Process::start({program}, logs, {"QT_QPA_PLATFORM=offscreen"});
    EXPECT_EQ(second.wait(20000), 0);
    EXPECT_TRUE(second.out().empty());
    EXPECT_EQ(folderBytes(dir()), before);
    EXPECT_TRUE(first.running());

    ::kill(first.pid, SIGTERM);
    EXPECT_EQ(first.wait(30000), 0);
    fs::remove_all(logs);
}

// ---- SIGTERM ----

class CliSigterm : public CliChain {
protected:
    void SetUp() override {
        CliChain::SetUp();
        hangEveryScale();
    }
};

TEST_F(CliSigterm, CancelsTheTransferAndEndsCleanly) {
    const std::string logs = dir() + "-logs";
    fs::create_directories(logs);
    Process c = Process::start({kBuiltCli, "--app-folder", dir(), "--port", std::to_string(scales[0]->port()), "send",
                                "--store", "1", "--tables", "25"},
                               logs);
    ASSERT_TRUE(waitFor([&] { return scales[0]->stats().connections.load() > 0; }, 20000));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    ::kill(c.pid, SIGTERM);
    const auto asked = std::chrono::steady_clock::now();
    EXPECT_EQ(c.wait(20000), 6) << c.err();
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(5));
    EXPECT_FALSE(fs::exists(path("Database/Brindale1.mdb")));
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 1"), long(store1Plus.size()));
    fs::remove_all(logs);
}

// ---- the README's crontab line ----

// The crontab command of the README, as written: everything after the five time fields of the
// line that runs brindale-cli.
std::string readmeCrontabCommand() {
    std::istringstream in(readText(std::string(BRINDALE_SOURCE_ROOT) + "/README.md"));
    for (std::string l; std::getline(in, l);) {
        if (l.find("brindale-cli") == std::string::npos) continue;
        std::istringstream f(l);
        std::string field;
        int n = 0;
        bool timeFields = true;
        while (n < 5 && f >> field) {
            if (field.find_first_not_of("0123456789*/,-") != std::string::npos) timeFields = false;
            ++n;
        }
        if (!timeFields || n < 5) continue;
        std::string rest;
        std::getline(f, rest);
        return rest.substr(rest.find_first_not_of(' '));
    }
    return {};
}

class CliCrontab : public CliChain {
protected:
    bool refuse(const std::string&) const override { return false; }
};

TEST_F(CliCrontab, TheReadmeLineRunsAsWritten) {
    const std::string command = readmeCrontabCommand();
    ASSERT_FALSE(command.empty());
    // The line's folder: $HOME/brindale, with brindale-cli in it (its own folder is the
    // application folder), the price file and the saved set it names.
    const std::string home = dir() + "-home";
    fs::create_directories(home);
    fs::rename(dir(), home + "/brindale");
    fs::copy_file(kBuiltCli, home + "/brindale/brindale-cli");
    writeText(home + "/brindale/prices.txt", "900001\t1.25\tApples\r\n900002\t2.00\tPlums\r\n");
    writeText(home + "/brindale/prices.set", "0\r\n0\r\n0\r\n0\r\n0\r\n0\r\n0\r\n3\r\n35\r\n");
    // The scales listen on the default port at the chain's addresses, as in a store: their own
    // loopback network so that no other test's scales are in the way.
    for (auto& s : scales) s->stop();
    scales.clear();
    {
        MirrorChain look;
        fs::remove_all(look.app.dir());
        fs::copy(home + "/brindale", look.app.dir(), fs::copy_options::recursive);
        look.start();
        look.db().exec("UPDATE SCALE SET SC_IP = REPLACE(SC_IP, '127.  0.  0.', '127.  0. 63.')");
        look.end();
        fs::remove_all(home + "/brindale/AccessData");
        fs::copy(look.app.dir() + "/AccessData", home + "/brindale/AccessData", fs::copy_options::recursive);
    }
    std::vector<scaleemu::ScaleOptions> each;
    for (const char* a : {"127.0.63.2", "127.0.63.3", "127.0.63.4"}) {
        scaleemu::ScaleOptions o;
        o.address = a;
        each.push_back(o);
    }
    std::string error;
    scales = scaleemu::startScales(each, error);
    ASSERT_EQ(scales.size(), 3u) << error;

    Process sh = Process::start({"/bin/sh", "-c", command}, home, {"HOME=" + home});
    const int code = sh.wait(60000);
    const std::string log = readText(home + "/brindale/cli.log");
    EXPECT_EQ(code, 0) << command << "\n" << log << sh.err();
    for (auto& s : scales) EXPECT_EQ(s->file("25").size(), 2u) << log;
    EXPECT_NE(log.find("added 2"), std::string::npos) << log;
    fs::rename(home + "/brindale", dir());
    fs::remove_all(home);
}


// ---- the README's systemd user timer ----

// The indented block after the line of the README that names `file`.
std::string readmeBlockAfter(const std::string& file) {
    const std::string text = readText(std::string(BRINDALE_SOURCE_ROOT) + "/README.md");
    const size_t at = text.find(file + "`:");
    if (at == std::string::npos) return {};
    std::istringstream in(text.substr(text.find('\n', at) + 1));
    std::string out, pending;
    bool started = false;
    for (std::string l; std::getline(in, l);) {
        if (l.rfind("    ", 0) == 0) {
            out += pending + l.substr(4) + "\n";
            pending.clear();
            started = true;
        } else if (l.empty()) {
            if (started) pending += "\n";
        } else if (started) {
            break;
        }
    }
    return out;
}

TEST(CliSystemdTimer, TheReadmeUnitsPassSystemdAnalyzeVerify) {
    std::string service = readmeBlockAfter("brindale-prices.service");
    const std::string timer = readmeBlockAfter("brindale-prices.timer");
    ASSERT_NE(service.find("ExecStart=%h/brindale/brindale-cli --wait import-plu"), std::string::npos) << service;
    ASSERT_NE(timer.find("OnCalendar="), std::string::npos) << timer;
    // The home of the test has no brindale folder: the built tool stands in for it.
    const std::string exec = "%h/brindale/brindale-cli";
    service.replace(service.find(exec), exec.size(), kBuiltCli);
    const std::string dir = (fs::temp_directory_path() / ("brindale-units-" + std::to_string(::getpid()))).string();
    fs::create_directories(dir);
    writeText(dir + "/brindale-prices.service", service);
    writeText(dir + "/brindale-prices.timer", timer);
    Process v = Process::start({"/usr/bin/systemd-analyze", "verify", dir + "/brindale-prices.service",
                                dir + "/brindale-prices.timer"},
                               dir);
    EXPECT_EQ(v.wait(30000), 0) << v.err();
    EXPECT_EQ(v.err(), "") << v.err();
    fs::remove_all(dir);
}

}  // namespace
}  // namespace brindale::testing
