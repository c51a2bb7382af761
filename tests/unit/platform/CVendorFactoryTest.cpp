#include "providerbase/CVendorFactory.h"

#include "providerbase/CVendor.h"
#include "tests/support/CPthread.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <stdexcept>

namespace {

// A vendor object that counts its end, and whose end can fail.
class CTestVendor : public CVendor {
public:
    CTestVendor(int* ended, bool isFailing)
        : CVendor("Test", "Test", {}),
          m_pEnded(ended),
          m_bFailing(isFailing) {}
    ~CTestVendor() noexcept(false) override {
        ++*m_pEnded;
        if (m_bFailing) {
            throw std::runtime_error("end of vendor " + std::to_string(*m_pEnded));
        }
    }

private:
    int* m_pEnded;
    bool m_bFailing;
};

class CVendorFactoryTest : public testing::Test {
protected:
    ~CVendorFactoryTest() override { CVendorFactory::SetMaker({}); }

    void MakeTestVendors(bool isFailing) {
        CVendorFactory::SetMaker(
            [this, isFailing](const auto& provider, const auto& device, const auto& kind) {
                m_asked.push_back(provider + "/" + device + "/" + kind);
                return std::make_unique<CTestVendor>(&m_iEnded, isFailing);
            });
    }

    CTestRoot m_root;
    std::vector<std::string> m_asked;
    int m_iEnded = 0;
};

TEST_F(CVendorFactoryTest, MakesWhatTheDescriptionSays) {
    m_root.SetVendorAnswers(3, 4, 5);
    CVendorFactory factory;
    CVendor* vendor = factory.GetVendorObject("TarnwellLogger", "Logger", "Kind");
    ASSERT_NE(nullptr, vendor);
    EXPECT_EQ("Logger", vendor->GetDeviceName());
    EXPECT_EQ("Kind", vendor->GetVendorKind());
    EXPECT_TRUE(vendor->HasCommand("CheckInstall"));
    EXPECT_FALSE(vendor->HasCommand("Other"));
    EXPECT_EQ(3, vendor->ExecuteCommand("CheckInstall"));
    EXPECT_EQ(5, vendor->ExecuteCommand("ServiceStart"));
    EXPECT_EQ((std::vector<std::string>{"CheckInstall", "ServiceStart"}), m_root.VendorCalls());
}

TEST_F(CVendorFactoryTest, MakesNothingWithoutADescription) {
    m_root.RemoveDeviceDescription();
    const CTraceCapture trace("KzmProviderBase");
    CVendorFactory factory;
    EXPECT_EQ(nullptr, factory.GetVendorObject("TarnwellLogger", "Logger", "Logger"));
    EXPECT_EQ(TraceLines(), trace.Lines());
}

TEST_F(CVendorFactoryTest, MakesNothingFromADescriptionThatIsRefused) {
    chmod((std::string(KzmPaths::kDeviceFolder) + "/Logger.conf").c_str(), 0666);
    const CTraceCapture trace("KzmProviderBase");
    CVendorFactory factory;
    EXPECT_EQ(nullptr, factory.GetVendorObject("TarnwellLogger", "Logger", "Logger"));
    EXPECT_EQ(1U, trace.Lines(2).size());
}

TEST_F(CVendorFactoryTest, RefusesDeviceNamesThatCouldLeaveTheFolder) {
    CVendorFactory factory;
    const std::string names[] = {"",        ".",       "..",        "../device/Logger",
                                 "a/b",     "Log ger", "L\xC3\xB6", std::string("Logger\0", 7),
                                 "Logger\n"};
    for (const std::string& name : names) {
        SCOPED_TRACE(testing::PrintToString(name));
        const CTraceCapture trace("KzmProviderBase");
        EXPECT_EQ(nullptr, factory.GetVendorObject("TarnwellLogger", name, "Logger"));
        EXPECT_EQ((TraceLines{{2, std::string("CVendorFactory::GetVendorObject() the device name "
                                              "\"") +
                                      name.c_str() +
                                      "\" is refused; use letters, digits, '_' and '-' only"}}),
                  trace.Lines());
    }
}

TEST_F(CVendorFactoryTest, AsksTheMakerOfTheHost) {
    MakeTestVendors(false);
    {
        CVendorFactory factory;
        EXPECT_NE(nullptr, factory.GetVendorObject("Provider", "Device", "Kind"));
        EXPECT_EQ(std::vector<std::string>{"Provider/Device/Kind"}, m_asked);
    }
    EXPECT_EQ(1, m_iEnded);
    CVendorFactory::SetMaker([](const auto&, const auto&, const auto&) { return nullptr; });
    CVendorFactory factory;
    EXPECT_EQ(nullptr, factory.GetVendorObject("Provider", "Logger", "Kind"));
    CVendorFactory::SetMaker({});
    EXPECT_NE(nullptr, factory.GetVendorObject("Provider", "Logger", "Kind"));
}

TEST_F(CVendorFactoryTest, DestroysAVendorObjectOnceAndOnlyItsOwn) {
    MakeTestVendors(false);
    CVendorFactory factory;
    CVendor* first = factory.GetVendorObject("Provider", "Device", "Kind");
    factory.GetVendorObject("Provider", "Device", "Kind");
    CVendorFactory other;
    factory.ReleaseVendorObject(nullptr);
    other.ReleaseVendorObject(first);
    EXPECT_EQ(0, m_iEnded);
    factory.ReleaseVendorObject(first);
    EXPECT_EQ(1, m_iEnded);
    factory.ReleaseVendorObject(first);
    EXPECT_EQ(1, m_iEnded);
}

TEST_F(CVendorFactoryTest, AFaultInTheEndOfAVendorObjectComesOut) {
    MakeTestVendors(true);
    CVendorFactory factory;
    CVendor* vendor = factory.GetVendorObject("Provider", "Device", "Kind");
    EXPECT_THROW(factory.ReleaseVendorObject(vendor), std::runtime_error);
    EXPECT_EQ(1, m_iEnded);
    factory.ReleaseVendorObject(vendor);
    EXPECT_EQ(1, m_iEnded);
}

TEST_F(CVendorFactoryTest, TheFactorysEndEndsEveryVendorObjectAndThrowsTheFirstFault) {
    MakeTestVendors(true);
    auto* factory = new CVendorFactory;
    for (int number = 0; number < 3; ++number) {
        factory->GetVendorObject("Provider", "Device", "Kind");
    }
    try {
        delete factory;
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& fault) {
        EXPECT_STREQ("end of vendor 1", fault.what());
    }
    EXPECT_EQ(3, m_iEnded);
}

// A vendor object whose end ends the thread that brings it about.
class CEndingVendor : public CVendor {
public:
    explicit CEndingVendor(int* ended) : CVendor("Device", "Kind", {}), m_pEnded(ended) {}
    ~CEndingVendor() noexcept(false) override {
        if (++*m_pEnded == 1) {
            CPthread::End();
        }
    }

private:
    int* m_pEnded;
};

TEST_F(CVendorFactoryTest, AThreadThatEndsInItDestroysTheRestAsWell) {
    int ended = 0;
    CVendorFactory::SetMaker([&ended](const auto&, const auto&, const auto&) {
        return std::make_unique<CEndingVendor>(&ended);
    });
    auto* factory = new CVendorFactory;
    for (int number = 0; number < 3; ++number) {
        factory->GetVendorObject("Provider", "Device", "Kind");
    }
    CPthread thread([factory] { delete factory; });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(3, ended);
}

TEST_F(CVendorFactoryTest, AMakerMaySetAnother) {
    CVendorFactory::SetMaker([this](const auto&...) {
        CVendorFactory::SetMaker({});
        return std::make_unique<CTestVendor>(&m_iEnded, false);
    });
    CVendorFactory factory;
    EXPECT_NE(nullptr, factory.GetVendorObject("TarnwellLogger", "Logger", "Kind"));
}

} // namespace
