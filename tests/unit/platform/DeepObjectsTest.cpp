// Objects in objects in objects.

#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CPthread.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

CWbemObjectPtr MakeNumber(std::uint32_t number) {
    auto object = std::make_unique<IWbemClassObject>("Element");
    object->Put("Number", number);
    return object;
}

constexpr std::uint32_t kDepth = 5'000;
constexpr std::size_t kSmallStack = 128 * 1024;

// Objects of which each embeds the one before; the first has a number.
CWbemObjectPtr MakeChain(const std::function<CWbemValue(CWbemObjectPtr)>& embed,
                         std::uint32_t count = kDepth) {
    CWbemObjectPtr chain = MakeNumber(7);
    for (std::uint32_t depth = 1; depth < count; ++depth) {
        auto holder = std::make_unique<IWbemClassObject>("Holder");
        holder->Put("Held", embed(std::move(chain)));
        chain = std::move(holder);
    }
    return chain;
}

CWbemValue InArray(CWbemObjectPtr object) {
    CWbemObjectArray array;
    array.push_back(MakeNumber(1));
    array.push_back(std::move(object));
    array.push_back(MakeNumber(2));
    return array;
}

const IWbemClassObject* HeldBy(const IWbemClassObject& holder) {
    const CWbemValue* value = holder.Get("Held");
    if (value == nullptr) {
        return nullptr;
    }
    const auto* array = std::get_if<CWbemObjectArray>(value);
    return array != nullptr ? array->at(1).get() : std::get<CWbemObjectPtr>(*value).get();
}

std::uint32_t DepthOf(const IWbemClassObject& chain) {
    std::uint32_t depth = 1;
    const IWbemClassObject* object = &chain;
    while (const IWbemClassObject* held = HeldBy(*object)) {
        object = held;
        ++depth;
    }
    EXPECT_EQ(7U, std::get<std::uint32_t>(*object->Get("Number")));
    return depth;
}

CWbemValue Alone(CWbemObjectPtr object) {
    return object;
}

class DeepObjects : public testing::TestWithParam<bool> {
protected:
    static CWbemObjectPtr Chain() { return MakeChain(GetParam() ? InArray : Alone); }
};

TEST(VeryDeepObjects, AreCopiedAndDestroyedOnASmallStack) {
    CPthread thread(
        [] {
            constexpr std::uint32_t kCount = 200'000;
            const CWbemObjectPtr chain = MakeChain(Alone, kCount);
            EXPECT_EQ(kCount, DepthOf(*chain->Clone()));
        },
        kSmallStack);
}

TEST_P(DeepObjects, AreDestroyedOnASmallStack) {
    CPthread thread([] { Chain().reset(); }, kSmallStack);
}

TEST_P(DeepObjects, AreCopiedOnASmallStack) {
    CPthread thread(
        [] {
            const CWbemObjectPtr chain = Chain();
            const IWbemClassObject copy(*chain);
            EXPECT_EQ(kDepth, DepthOf(copy));
            EXPECT_EQ(kDepth, DepthOf(*chain->Clone()));
            IWbemClassObject holder;
            EXPECT_EQ(
                0, CIWbemUtil::setParameterClassToIWbemClassObject(&holder, "Held", chain.get()));
            EXPECT_EQ(kDepth + 1, DepthOf(holder));
            holder.Put("Held", std::monostate());
            EXPECT_EQ(kDepth, DepthOf(*chain));
        },
        kSmallStack);
}

TEST_P(DeepObjects, OfAMethodsParametersAreCopiedAndDestroyed) {
    CPthread thread(
        [] {
            IWbemClassObject definition("Class");
            IWbemClassObject::Method method;
            method.m_sName = "Method";
            method.m_inParameters.push_back({"Held", WbemType::Object, false, Chain(), ""});
            definition.DefineMethod(std::move(method));
            const IWbemClassObject copy(definition);
        },
        kSmallStack);
}

INSTANTIATE_TEST_SUITE_P(One, DeepObjects, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(InAnArray, DeepObjects, testing::Values(true));

// A host may have objects of its own kind: they copy themselves.
class CCountedObject : public IWbemClassObject {
public:
    explicit CCountedObject(int* copies) : m_pCopies(copies) {}
    [[nodiscard]] std::unique_ptr<IWbemClassObject> Clone() const override {
        ++*m_pCopies;
        return std::make_unique<CCountedObject>(m_pCopies);
    }

private:
    int* m_pCopies;
};

TEST(ObjectOfAnotherKind, CopiesItselfWhenEmbedded) {
    int copies = 0;
    auto counted = std::make_unique<CCountedObject>(&copies);
    counted->Put("Held", MakeNumber(1));
    IWbemClassObject holder;
    holder.Put("Held", std::move(counted));
    const IWbemClassObject copy(holder);
    EXPECT_EQ(1, copies);
    EXPECT_NE(nullptr, dynamic_cast<const CCountedObject*>(HeldBy(copy)));
}

} // namespace
