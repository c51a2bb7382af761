// Several threads in one process: at one provider object, which some ask for other methods while
// one reads the settings, one call at a time, with everything traced; and each at objects of its
// own.

#include "tests/load/CWatchedAgent.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTempFile.h"
#include "tests/support/SampleConf.h"

#include "KzmPaths.h"
#include "comlib/CTraceUtility.h"
#include "host/CCimXmlReader.h"
#include "host/CClassRepository.h"
#include "host/CCollectingSink.h"
#include "host/CProviderLibrary.h"
#include "providerbase/CVendor.h"
#include "providerbase/CVendorFactory.h"
#include "providerbase/IWbemContext.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

using std::string;

namespace {

constexpr int kThreads = 4;
constexpr int kForwardedCalls = 200; // of each thread
constexpr int kGetCalls = 20;
constexpr unsigned int kAllLevels = 0xF;
constexpr char kOtherMethod[] = "ExecuteUpdate";

// A provider object as a server with many threads would keep it.
class CSharedProvider {
public:
    CSharedProvider() {
        string error;
        const auto classes = CCimXmlReader::ReadFile(CLASS_DEFINITIONS, &error);
        m_repository.emplace(classes.value());
        m_library = CProviderLibrary::Load(PROVIDER_LIBRARY, &error);
        m_library->GetProvider()->SetServices(&*m_repository);
    }

    CCallOutcome Call(string method) const {
        string className = "VELTARO_ToolServiceLogger";
        IWbemContext context;
        CCollectingSink sink;
        m_library->GetProvider()->ExecMethodAsync(className.data(), method.data(), 0, &context,
                                                  nullptr, &sink);
        return sink.TakeOutcome();
    }

private:
    std::optional<CClassRepository> m_repository; // outlives the provider that uses it
    std::unique_ptr<CProviderLibrary> m_library;
};

// All that is traced as long as it lives, as "<level> <module> <text>".
class CListener {
public:
    CListener() {
        CTraceUtility::SetListener(kAllLevels, [this](const CTraceUtility::Line& line) {
            // One line at a time comes here.
            m_lines.push_back(std::to_string(line.m_iLevel) + ' ' + line.m_sModule + ' ' +
                              line.m_sText);
        });
    }
    ~CListener() { CTraceUtility::SetListener(0, {}); }
    CListener(const CListener&) = delete;
    CListener& operator=(const CListener&) = delete;

    // To be called when nothing is traced.
    [[nodiscard]] const std::vector<string>& Lines() const { return m_lines; }

private:
    std::vector<string> m_lines;
};

// The lines of a trace file without time and process.
std::vector<string> LinesOf(const CTempFile& file) {
    std::vector<string> lines;
    std::ifstream stream(file.Path());
    string time;
    string process;
    string rest;
    while (stream >> time >> process && std::getline(stream >> std::ws, rest)) {
        lines.push_back(rest);
    }
    return lines;
}

class Threads : public testing::Test {
protected:
    void SetUp() override { InstallFastAgent(m_root); }
    void TearDown() override {
        CTraceUtility::SetDestination(0, "");
        ExpectTheSample();
    }

    // Building a record traces: it is left until the lines have been counted.
    void ExpectTheSample() const {
        const CLoggerConf sample = SampleConf();
        EXPECT_EQ(static_cast<std::size_t>(kGetCalls), m_answers.size());
        for (const CCallOutcome& answer : m_answers) {
            ASSERT_NE(nullptr, answer.m_output) << answer.m_sError;
            const CLoggerConf answered(answer.m_output.get());
            EXPECT_TRUE(sample.Compare(&answered));
        }
    }

    std::size_t CountLines(const string& method) const {
        const CListener listener;
        static_cast<void>(m_provider.Call(method));
        return listener.Lines().size();
    }

    // How many lines RunAll traces.
    std::size_t ExpectedLines() const {
        return kThreads * kForwardedCalls * CountLines(kOtherMethod) +
               kGetCalls * CountLines("GetParameter");
    }

    void Forward() {
        for (int i = 0; i < kForwardedCalls; ++i) {
            const CCallOutcome outcome = m_provider.Call(kOtherMethod);
            EXPECT_EQ("", outcome.m_sError);
            EXPECT_EQ(WbemResult::kNotSupported, outcome.m_status);
            EXPECT_EQ(nullptr, outcome.m_output);
        }
    }

    void Get() {
        for (int i = 0; i < kGetCalls; ++i) {
            EXPECT_EQ(0U, m_answers.emplace_back(m_provider.Call("GetParameter")).m_uiMethodResult);
        }
    }

    // Runs `meanwhile` again and again until all calls have come back.
    void RunAll(const std::function<void()>& meanwhile) {
        std::atomic<int> running{kThreads + 1};
        std::vector<std::thread> threads;
        const auto start = [&](void (Threads::*calls)()) {
            threads.emplace_back([this, calls, &running] {
                (this->*calls)();
                --running;
            });
        };
        start(&Threads::Get);
        for (int i = 0; i < kThreads; ++i) {
            start(&Threads::Forward);
        }
        while (running > 0) {
            meanwhile();
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    CTestRoot m_root;
    CSharedProvider m_provider;
    std::vector<CCallOutcome> m_answers; // to GetParameter
};

TEST_F(Threads, EveryLineReachesListenerAndFileInOneOrder) {
    const std::size_t expected = ExpectedLines();
    const CTempFile file("");
    ASSERT_TRUE(CTraceUtility::SetDestination(kAllLevels, file.Path()));
    const CListener listener;
    RunAll(std::this_thread::yield);
    EXPECT_EQ(expected, listener.Lines().size());
    EXPECT_EQ(listener.Lines(), LinesOf(file));
}

TEST_F(Threads, NoLineIsLostWhileTheDestinationChanges) {
    const std::size_t expected = ExpectedLines();
    const CTempFile first("");
    const CTempFile second("");
    ASSERT_TRUE(CTraceUtility::SetDestination(kAllLevels, first.Path()));
    RunAll([&] {
        EXPECT_TRUE(CTraceUtility::SetDestination(kAllLevels, second.Path()));
        EXPECT_TRUE(CTraceUtility::SetDestination(kAllLevels, first.Path()));
    });
    EXPECT_LT(0U, LinesOf(first).size());
    EXPECT_LT(0U, LinesOf(second).size());
    EXPECT_EQ(expected, LinesOf(first).size() + LinesOf(second).size());
}

TEST_F(Threads, ListenersComeAndGoWhileCallsRun) {
    const std::size_t expected = ExpectedLines();
    std::size_t heard = 0;
    RunAll([&] {
        CTraceUtility::SetListener(kAllLevels, [&](const CTraceUtility::Line&) { ++heard; });
        std::this_thread::yield();
        CTraceUtility::SetListener(0, {});
    });
    EXPECT_LT(0U, heard);
    EXPECT_GE(expected, heard);
}

// ---- Threads that share nothing ----

void RunThreads(const std::function<void(int)>& body) {
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back(body, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(ThreadsApart, VendorObjectsRunTheirOwnCommands) {
    const CTestRoot root;
    RunThreads([](int number) {
        const string device = "Device" + std::to_string(number);
        WriteFile(string(KzmPaths::kDeviceFolder) + "/" + device + ".conf",
                  "Answer=/bin/sh -c \"exit " + std::to_string(number) + "\"\n");
        for (int i = 0; i < kGetCalls; ++i) {
            CVendorFactory factory;
            CVendor* vendor = factory.GetVendorObject("Threads", device, "Test");
            ASSERT_NE(nullptr, vendor);
            EXPECT_EQ(number, vendor->ExecuteCommand("Answer"));
            factory.ReleaseVendorObject(vendor);
        }
    });
}

TEST(ThreadsApart, ProviderObjectsComeAndGo) {
    const CTestRoot root;
    // Keeps the library loaded: the thread sanitizer does not know the loader's own locks.
    const CLoadedProvider first;
    RunThreads([](int) {
        for (int i = 0; i < kGetCalls; ++i) {
            CLoadedProvider provider;
            EXPECT_EQ(WbemResult::kNotSupported, provider.Call(kOtherMethod).m_status);
        }
    });
}

} // namespace
