// Making and destroying the provider object.

#include "tests/support/CTestRoot.h"
#include "tests/unit/provider/ScriptedCall.h"

#include "providerbase/CVendorFactory.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace {

const char kMade[] = "CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger()";
const char kDestroyed[] = "CVELTARO_ToolServiceLogger::~CVELTARO_ToolServiceLogger()";

const Notes kConstruction = {
    "CVELTARO_ToolService TarnwellLogger, veltaro, 34.1",
    Trace(4, std::string(kMade) + " [START]"),
    "ShowMessage CVELTARO_ToolServiceLogger(), CVELTARO_ToolServiceLogger - Debug",
    "set_transrator",
    "writeDLLFileVersionLog VELTARO_ToolServiceLogger.dll",
    "CVendorFactory",
    "GetVendorObject TarnwellLogger, Logger, Logger",
    "ShowMessage SetOwnerProvider(), SetOwnerProvider - Debug",
    "SetOwnerProvider TarnwellLogger, 34.1",
    Trace(4, std::string(kMade) + " [END]"),
};

const Notes kDestruction = {
    Trace(4, std::string(kDestroyed) + " [START]"),
    "set_transrator",
    "ReleaseVendorObject",
    "~CVendorFactory",
    Trace(4, std::string(kDestroyed) + " [END]"),
    "~CVELTARO_ToolService",
};

// Makes the operation of this note throw, once.
template <class Exception>
void ThrowAt(const std::string& place, const Exception& exception) {
    CScript::Get().m_onNote = [place, exception](const std::string& note) {
        if (note == place) {
            CScript::Get().m_onNote = nullptr;
            throw exception;
        }
    };
}

Notes Without(Notes notes, const std::string& note) {
    notes.erase(std::remove(notes.begin(), notes.end(), note), notes.end());
    return notes;
}

class LifeCycle : public testing::Test {
protected:
    LifeCycle() { CScript::Reset(); }

    static Notes TakeNotes() {
        Notes notes;
        notes.swap(CScript::Get().m_notes);
        return notes;
    }
};

extern "C" void* create();

TEST_F(LifeCycle, GoesThroughAllStepsInOrder) {
    auto* provider = static_cast<CVELTARO_ToolService*>(create());
    EXPECT_EQ(kConstruction, TakeNotes());
    delete provider;
    EXPECT_EQ(kDestruction, TakeNotes());
}

TEST_F(LifeCycle, WithoutVendorTheObjectIsMadeAllTheSame) {
    CScript::Get().m_bHasVendor = false;
    auto provider = std::make_unique<CVELTARO_ToolServiceLogger>();
    Notes expected(kConstruction.begin(), kConstruction.begin() + 7);
    expected.push_back(Trace(1, std::string(kMade) + " pVendor == NULL"));
    expected.push_back("ShowMessage pVendor == NULL, CVELTARO_ToolServiceLogger - Debug");
    expected.push_back(kConstruction.back());
    EXPECT_EQ(expected, TakeNotes());
    provider.reset();
    EXPECT_EQ(Without(kDestruction, "ReleaseVendorObject"), TakeNotes());
}

TEST_F(LifeCycle, ConstructorCatchesAnExceptionFromEveryStep) {
    for (std::size_t step = 1; step < kConstruction.size(); ++step) {
        SCOPED_TRACE(kConstruction[step]);
        CScript::Reset();
        ThrowAt(kConstruction[step], std::runtime_error("broken %s"));
        auto provider = std::make_unique<CVELTARO_ToolServiceLogger>();
        const auto behind = static_cast<Notes::difference_type>(step) + 1;
        Notes expected(kConstruction.begin(), kConstruction.begin() + behind);
        expected.push_back(Trace(8, std::string(kMade) + " [exception:broken %s]"));
        expected.push_back(kConstruction.back());
        EXPECT_EQ(expected, TakeNotes());

        // What the steps before the fault made is given back, and nothing else.
        provider.reset();
        const bool hasFactory = step > 5;
        const bool hasVendor = step == 8 ? false : step > 8;
        Notes destruction = kDestruction;
        if (!hasVendor) {
            destruction = Without(destruction, "ReleaseVendorObject");
        }
        if (!hasFactory) {
            destruction = Without(destruction, "~CVendorFactory");
        }
        EXPECT_EQ(destruction, TakeNotes());
    }
}

TEST_F(LifeCycle, ConstructorCatchesWhatIsNoStandardException) {
    ThrowAt("CVendorFactory", 42);
    const CVELTARO_ToolServiceLogger provider;
    Notes expected(kConstruction.begin(), kConstruction.begin() + 6);
    expected.push_back(Trace(8, std::string(kMade) + " unknown exception"));
    expected.push_back(kConstruction.back());
    EXPECT_EQ(expected, TakeNotes());
}

TEST_F(LifeCycle, ExceptionOfTheBaseClassLeavesCreate) {
    ThrowAt(kConstruction.front(), std::runtime_error("broken"));
    EXPECT_THROW(create(), std::runtime_error);
    EXPECT_EQ(Notes{kConstruction.front()}, TakeNotes());
}

TEST_F(LifeCycle, DestructorCatchesAnExceptionAndDestroysTheBase) {
    for (std::size_t step = 2; step <= 4; ++step) { // a vendor, the factory, the end line
        const std::string& place = kDestruction[step];
        for (const bool isStandard : {true, false}) {
            SCOPED_TRACE(place);
            CScript::Reset();
            auto provider = std::make_unique<CVELTARO_ToolServiceLogger>();
            TakeNotes();
            if (isStandard) {
                ThrowAt(place, std::runtime_error("broken"));
            } else {
                ThrowAt(place, 42);
            }
            // A factory that could not be emptied is left behind.
            const bool isLeftBehind = place == "ReleaseVendorObject";
            const std::unique_ptr<CVendorFactory> leftBehind(
                isLeftBehind ? provider->m_pVendorFactory : nullptr);
            provider.reset();
            const auto behind = static_cast<Notes::difference_type>(step) + 1;
            Notes expected(kDestruction.begin(), kDestruction.begin() + behind);
            expected.push_back(
                Trace(8, std::string(kDestroyed) +
                             (isStandard ? " [exception:broken]" : " unknown exception")));
            expected.push_back(kDestruction[4]);
            expected.push_back(kDestruction[5]);
            EXPECT_EQ(expected, TakeNotes());
        }
    }
}

} // namespace
