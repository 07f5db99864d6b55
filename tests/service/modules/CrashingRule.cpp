// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/text/Utf8.h"
#include "sdk/rule/Rule.h"

namespace {

// Writes where nothing may be written. The signal is left to the system, whatever else wants to hear of it.
void Segfault() {
    std::signal(SIGSEGV, SIG_DFL);
    void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}

// Takes memory until there is no more.
void Hog() {
    const rlimit limit{std::size_t{1} << 32U, std::size_t{1} << 32U};
    setrlimit(RLIMIT_AS, &limit);
    std::vector<std::vector<char>> taken;
    for (;;) {
        taken.emplace_back(std::size_t{64} << 20U, 'x');
    }
}

// Sends bytes to the service past everything that a worker does: "sends 01ff times 3" sends six. The socket is the one
// of its kind.
void Send(const std::string& what) {
    std::istringstream words(what);
    std::string digits;
    std::string times;
    std::size_t count = 1;
    words >> digits >> digits >> times >> count;
    std::string once;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        once += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    std::string bytes;
    for (std::size_t i = 0; i < (times.empty() ? 1 : count); ++i) {
        bytes += once;
    }
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        int type = 0;
        int domain = 0;
        socklen_t size = sizeof type;
        if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM &&
            getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX) {
            for (std::size_t sent = 0; sent < bytes.size();) {
                const ssize_t now = send(descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
                if (now <= 0) {
                    return;
                }
                sent += static_cast<std::size_t>(now);
            }
        }
    }
}

// Does on a floor what its name says, blanks at the end left out, after it has reported one finding. Passes on every
// other floor.
class CCheckCrashing final : public norvex::rule::Rule {
  public:
    CCheckCrashing()
        : Rule({.strName = u"CCheckCrashing",
                .strShortName = u"crashing",
                .strTitle = u"Does what the floor's name says",
                .strCategory = STR_CHECK_CALCULATION,
                .strVersion = {},
                .vecSpecialties = {STR_SPEC_WATER}}) {}

  private:
    void Run(norvex::rule::Context& context) override {
        context.Examined(1);
        CString floor = context.Floor();
        floor.TrimRight();
        context.Report(
            {.subCategory = u"early", .severity = STR_ERR_CONFIRMED, .sentence = u"Found first.", .objects = {}});
        if (floor == u"segfault") {
            Segfault();
        } else if (floor == u"exit") {
            std::exit(0);
        } else if (floor == u"abort") {
            std::signal(SIGABRT, SIG_DFL);
            std::abort();
        } else if (floor == u"terminate") {
            std::signal(SIGABRT, SIG_DFL);
            std::terminate();
        } else if (floor == u"killed") {
            kill(getpid(), SIGKILL);
        } else if (floor == u"hog") {
            Hog();
        } else if (floor == u"hang") {
            for (volatile bool forever = true; forever;) {
            }
        } else if (floor == u"hang politely") {
            for (int i = 0;; ++i) {
                context.GoOn(i % 100, 100);
            }
        } else if (floor == u"half a second") {
            for (int i = 0; i < 50 && context.GoOn(i, 50); ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        } else if (floor == u"flood") {
            for (;;) {
                context.Report({.subCategory = u"again",
                                .severity = STR_ERR_CONFIRMED,
                                .sentence = u"Found again.",
                                .objects = {}});
            }
        } else if (floor == u"flood of long texts") {
            for (;;) {
                context.Report({.subCategory = u"long",
                                .severity = STR_ERR_CONFIRMED,
                                .sentence = CString(std::u16string(1 << 20, u'x').c_str()),
                                .objects = {}});
            }
        } else if (floor == u"endless text") {
            context.Report({.subCategory = u"long",
                            .severity = STR_ERR_CONFIRMED,
                            .sentence = CString(std::u16string(40 << 20, u'x').c_str()),
                            .objects = {}});
        } else if (floor.Find(u"sends ") == 0) {
            Send(norvex::text::ToUtf8(floor));
        } else if (floor == u"close everything") {
            close_range(3, ~0U, 0);
        }
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckCrashing)
