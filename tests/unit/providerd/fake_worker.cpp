// A worker that does what the parameters of a call say, in place of calling a provider:
//
//   await FIFO      answers when somebody has opened the FIFO for writing
//   listen          ends when it is told to, with 0
//   tell FIFO       opens the FIFO for writing, and then waits without end
//   result N        answers with this CallResult, and notes before that a copy was kept
//   keep-await FIFO notes it, and then as await
//   keep-raise N    notes it, and ends
//   return N        answers with this return value
//   exit N, raise N ends
//   leave FIFO      ends, and leaves a process that has its descriptors until the FIFO is opened
//   for
//                   writing
//   garbage         sends a frame that is no answer
//   too-long        sends the header of a frame that is longer than one may be
//   half            sends a part of a frame, and ends
//   answer-and-exit, answer-and-stay, answer-and-talk
//                   answers; then ends, never ends, says something unasked
//   large           answers with 20,000,000 bytes more
//   process         answers with what it finds itself to be
//   environment     answers with its environment
//
// Any other text is answered with success. The output parameters are "N METHOD TEXT USER PEER",
// where N counts the calls of this process.

#include "providerd/FrameTransfer.h"
#include "providerd/WorkMessages.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>

using providerd::CWorkAnswer;
using providerd::CWorkRequest;
using providerd::kWorkerDescriptor;

namespace {

void Send(const std::string& bytes) {
    send(kWorkerDescriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

[[noreturn]] void StayForever() {
    for (;;) {
        pause();
    }
}

// Descriptors, signals and process group, as a line.
std::string Process() {
    std::ostringstream text;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1) {
            text << descriptor << ' ';
        }
    }
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action {};
        const bool isIgnored =
            sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
        if (isIgnored || sigismember(&blocked, number) == 1) {
            text << "signal " << number << ' ';
        }
    }
    text << (getpgrp() == getpid() ? "leader" : "no leader");
    return text.str();
}

std::string Environment() {
    std::string text;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        text += std::string(*variable) + "\n";
    }
    return text;
}

// What is done in place of an answer, or before it.
void Obey(const std::string& order, const std::string& argument) {
    constexpr char kKeep[] = "keep-";
    if (order.rfind(kKeep, 0) == 0) {
        Send(Encode(providerd::CWorkNote{"kept"}));
        Obey(order.substr(sizeof kKeep - 1), argument);
    } else if (order == "await") {
        close(open(argument.c_str(), O_RDONLY));
    } else if (order == "listen") {
        char next = 0;
        _exit(static_cast<int>(recv(kWorkerDescriptor, &next, sizeof next, 0)));
    } else if (order == "tell") {
        close(open(argument.c_str(), O_WRONLY));
        StayForever();
    } else if (order == "exit") {
        _exit(std::stoi(argument));
    } else if (order == "raise") {
        raise(std::stoi(argument));
    } else if (order == "leave") {
        if (fork() == 0) {
            close(open(argument.c_str(), O_RDONLY));
        }
        _exit(0);
    } else if (order == "garbage") {
        Send(std::string("\1\0\0\0x", 5));
    } else if (order == "too-long") {
        Send("\xFF\xFF\xFF\xFF");
    } else if (order == "half") {
        Send(std::string("\5\0", 2));
        _exit(0);
    }
}

CWorkAnswer AnswerTo(const CWorkRequest& request, int count) {
    std::istringstream words(request.m_inParameters);
    std::string order;
    std::string argument;
    words >> order >> argument;
    Obey(order, argument);
    CWorkAnswer answer;
    answer.m_result = messages::CallResult::Done;
    if (order == "result") {
        Send(Encode(providerd::CWorkNote{"kept"}));
        answer.m_result = static_cast<messages::CallResult>(std::stoi(argument));
    } else if (order == "return") {
        answer.m_returnValue = static_cast<std::uint32_t>(std::stoul(argument, nullptr, 0));
    }
    if (order == "process") {
        answer.m_outParameters = Process();
    } else if (order == "environment") {
        answer.m_outParameters = Environment();
    } else {
        answer.m_outParameters = std::to_string(count) + ' ' + request.m_method + ' ' +
                                 request.m_inParameters.substr(0, 100) + ' ' + request.m_user +
                                 ' ' + request.m_peer;
    }
    answer.m_outParameters.append(order == "large" ? 20'000'000 : 0, 'x');
    return answer;
}

} // namespace

int main() {
    for (int count = 1;; ++count) {
        std::string payload;
        if (providerd::ReceiveFrame(kWorkerDescriptor, &payload, std::nullopt) !=
            providerd::Transfer::Done) {
            return 0;
        }
        const auto request = providerd::DecodeWorkRequest(payload);
        const bool talks = request->m_inParameters == "answer-and-talk";
        Send(Encode(AnswerTo(*request, count)) + (talks ? "x" : ""));
        if (request->m_inParameters == "answer-and-exit") {
            return 0;
        }
        if (request->m_inParameters == "answer-and-stay") {
            StayForever();
        }
    }
}
