// Threads that end in the middle of what the provider does, as a cancelled thread does.

#include "tests/support/CPthread.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/unit/provider/ScriptedRequest.h"

#include <memory>
#include <stdexcept>

namespace {

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.rfind(beginning, 0) == 0;
}

// From here on: a runtime_error at the note (none for an empty one), and the thread's end at the
// next note of this number.
void EndThreadAt(std::size_t number, const std::string& throwingNote = {}) {
    const auto count = std::make_shared<std::size_t>(0);
    const auto hasThrown = std::make_shared<bool>(throwingNote.empty());
    CScript::Get().m_onNote = [=](const std::string& note) {
        if (!*hasThrown && note == throwingNote) {
            *hasThrown = true;
            throw std::runtime_error("broken");
        }
        if (*hasThrown && (*count)++ == number) {
            CScript::Get().m_onNote = nullptr;
            CPthread::End();
        }
    };
}

class EndedThread : public testing::Test {
protected:
    EndedThread() { CScript::Reset(); }
    ~EndedThread() override { CScript::Reset(); }

    static std::size_t Count(const std::string& beginning) { return NotesOf(beginning).size(); }

    // What was fetched and made was given back.
    static void ExpectNothingHeld() {
        EXPECT_EQ(Count("SysAllocString"), Count("SysFreeString"));
        EXPECT_EQ(Count("GetObject"), Count("Release class"));
        EXPECT_EQ(Count("GetMethod"), Count("Release definition"));
        EXPECT_EQ(Count("SpawnInstance"), Count("Release instance"));
        EXPECT_TRUE(IsLockFree());
    }

    CTestRoot m_root;
};

// The notes to end a call at: not those of operations that make or free something, which would
// themselves be to blame for what is left, and of the many lines about a record few.
bool IsToEndAt(const std::string& note) {
    for (const char* beginning : {"SysAllocString", "GetObject", "GetMethod", "SpawnInstance",
                                  "Release", "SysFreeString"}) {
        if (BeginsWith(note, beginning)) {
            return false;
        }
    }
    return !BeginsWith(note, Trace(1, "m_")) && !BeginsWith(note, Trace(4, "CLoggerSyslog")) &&
           !BeginsWith(note, Trace(4, "CLoggerUsage")) && !BeginsWith(note, Trace(4, "CLoggerFs"));
}

TEST_F(EndedThread, LeavesNothingHeldWhereverACallEnds) {
    for (const std::string method : {"GetParameter", "SetParameter", "ExecuteUpdate"}) {
        SCOPED_TRACE(method);
        IWbemClassObject request = Request(ChangedConf());
        Notes notes;
        {
            CScriptedCall call;
            call.Run(method, &request);
            notes = CScript::Get().m_notes;
        }
        for (std::size_t number = 0; number < notes.size() && !HasFailure(); ++number) {
            if (!IsToEndAt(notes[number])) {
                continue;
            }
            SCOPED_TRACE(notes[number]);
            m_root.SetAgentConfig(CTestRoot::kAgentConfig);
            m_root.SetAlertConfig(CTestRoot::kAlertConfig);
            CScriptedCall call;
            EndThreadAt(number);
            CPthread thread([&] { call.Run(method, &request); });
            EXPECT_TRUE(thread.WasCancelled());
            ExpectNothingHeld();
        }
    }
}

TEST_F(EndedThread, LeavesTheProviderObjectUsable) {
    IWbemClassObject request = Request(ChangedConf());
    CScriptedCall call;
    CScript::Get().m_onCommand = [](const std::string& command) {
        if (command == "ServiceStop") {
            CPthread::End();
        }
        return 0;
    };
    CPthread thread([&] { call.Run("SetParameter", &request); });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(kStopped, NotesOf("ExecuteCommand"));
    EXPECT_EQ(Notes(), NotesOf("SetStatus"));
    CScript::Get().m_onCommand = [](const std::string&) { return 0; };
    EXPECT_EQ(0, call.Run("SetParameter", &request));
    EXPECT_EQ(0U, call.Result());
}

TEST_F(EndedThread, IsNotCancelledWhileAnExceptionIsAnswered) {
    CScriptedCall call;
    CScript::Get().m_onNote = [hasThrown = std::make_shared<bool>(false)](const std::string& note) {
        if (note == "ExecuteCommand CheckInstall") {
            *hasThrown = true;
            throw std::runtime_error("broken");
        }
        if (*hasThrown && BeginsWith(note, "SetStatus")) {
            *hasThrown = false; // the exception has been answered
        }
        if (*hasThrown) {
            pthread_cancel(pthread_self());
            pthread_testcancel();
        }
    };
    CPthread thread([&] {
        call.Run("GetParameter");
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(0x80000002U, call.Result());
    EXPECT_EQ(1U, Count("SetStatus"));
}

// ---- Making the provider object ----

TEST_F(EndedThread, MakesNoProviderAndLeavesNoneBehind) {
    const auto make = [] { delete new CVELTARO_ToolServiceLogger; };
    make();
    const std::size_t steps = 9; // behind the base class's
    for (std::size_t number = 1; number <= steps; ++number) {
        CScript::Reset();
        EndThreadAt(number);
        CPthread thread(make);
        EXPECT_TRUE(thread.WasCancelled());
        const bool hasFactory = number > 5;
        const bool hasVendor = number > 8;
        EXPECT_EQ(hasFactory ? 1U : 0U, Count("~CVendorFactory")) << number;
        EXPECT_EQ(hasVendor ? 1U : 0U, Count("ReleaseVendorObject")) << number;
    }
}

TEST_F(EndedThread, IsNotCancelledWhileAFaultOfTheMakingIsTraced) {
    CScript::Get().m_onNote = [](const std::string& note) {
        if (BeginsWith(note, "writeDLLFileVersionLog")) {
            pthread_cancel(pthread_self());
            throw std::runtime_error("broken");
        }
        if (BeginsWith(note, Trace(8, "")) || note.find("[END]") != std::string::npos) {
            pthread_testcancel();
        }
    };
    CPthread thread([] {
        delete new CVELTARO_ToolServiceLogger;
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(1U, Count("~CVELTARO_ToolService"));
}

TEST_F(EndedThread, IsNotCancelledWhileTheProviderIsDestroyed) {
    auto* provider = new CVELTARO_ToolServiceLogger;
    CScript::Get().m_onNote = [](const std::string& note) {
        if (note == "ReleaseVendorObject") {
            pthread_cancel(pthread_self());
            pthread_testcancel();
        }
    };
    CPthread thread([provider] {
        delete provider;
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(1U, Count("~CVELTARO_ToolService"));
}

// ---- Functions that let no exception out ----

// Makes the note throw, and every one behind it until the base class goes.
void ThrowFrom(const std::string& place) {
    const auto isReached = std::make_shared<bool>(false);
    CScript::Get().m_onNote = [=](const std::string& note) {
        *isReached = (*isReached || note == place) && !BeginsWith(note, "~CVELTARO_ToolService");
        if (*isReached) {
            throw std::bad_alloc();
        }
    };
}

TEST_F(EndedThread, NothingIsThrownWhereTracingFailsToo) {
    std::unique_ptr<CVELTARO_ToolServiceLogger> provider;
    ThrowFrom("set_transrator");
    EXPECT_NO_THROW(provider = std::make_unique<CVELTARO_ToolServiceLogger>());
    CScript::Reset();
    ThrowFrom(Trace(4, "CVELTARO_ToolServiceLogger::~CVELTARO_ToolServiceLogger() [END]"));
    provider.reset();
    EXPECT_EQ(1U, Count("~CVELTARO_ToolService"));
}

} // namespace
