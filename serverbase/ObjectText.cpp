#include "serverbase/Frames.h"

#include <utility>
#include <variant>

// A text is an object: its class name, the number of its properties, and of each the name, the
// type, whether it has a value, and the value.
namespace messages {

namespace {

class CObjectWriter {
public:
    void Put(const IWbemClassObject& object) {
        // What is beyond the limit is left out, and so the text is no object.
        if (m_depth == kObjectDepth) {
            return;
        }
        ++m_depth;
        m_writer.PutText(object.GetClassName());
        m_writer.PutNumber(static_cast<std::uint32_t>(object.GetProperties().size()));
        for (const IWbemClassObject::Property& property : object.GetProperties()) {
            const bool hasValue = !std::holds_alternative<std::monostate>(property.m_value);
            m_writer.PutText(property.m_sName);
            m_writer.PutByte(static_cast<std::uint8_t>(property.m_type));
            m_writer.PutByte(hasValue ? 1 : 0);
            std::visit([this](const auto& value) { PutValue(value); }, property.m_value);
        }
        --m_depth;
    }

    std::string TakeText() { return m_writer.TakePayload(); }

private:
    void PutValue(std::monostate) {}
    void PutValue(bool value) { m_writer.PutByte(value ? 1 : 0); }
    void PutValue(std::uint32_t value) { m_writer.PutNumber(value); }
    void PutValue(std::int32_t value) { m_writer.PutNumber(static_cast<std::uint32_t>(value)); }
    void PutValue(const std::string& value) { m_writer.PutText(value); }
    void PutValue(const CWbemObjectPtr& object) { Put(*object); }
    void PutValue(const CWbemObjectArray& array) {
        m_writer.PutNumber(static_cast<std::uint32_t>(array.size()));
        for (const CWbemObjectPtr& object : array) {
            Put(*object);
        }
    }

    CPayloadWriter m_writer;
    std::size_t m_depth = 0;
};

// After the first thing that is wrong nothing is taken any more.
class CObjectReader {
public:
    explicit CObjectReader(std::string_view text) : m_reader(text) {}

    // Never null.
    CWbemObjectPtr Take() {
        m_good = m_good && m_depth < kObjectDepth && ++m_objects <= kObjectCount;
        if (!m_good) {
            return std::make_unique<IWbemClassObject>();
        }
        ++m_depth;
        auto object = std::make_unique<IWbemClassObject>(m_reader.TakeText(kObjectNameBytes));
        const std::uint32_t properties = m_reader.TakeNumber();
        m_good = m_good && properties <= kObjectProperties;
        for (std::uint32_t i = 0; i < properties && IsGood(); ++i) {
            TakeProperty(object.get());
        }
        --m_depth;
        return object;
    }

    [[nodiscard]] bool IsWhole() const { return m_good && m_reader.IsWhole(); }

private:
    [[nodiscard]] bool IsGood() const { return m_good && m_reader.IsGood(); }

    void TakeProperty(IWbemClassObject* object) {
        const std::string name = m_reader.TakeText(kObjectNameBytes);
        const bool isName = name.find('\0') == std::string::npos; // an empty one Put refuses
        m_good = IsGood() && isName && object->Get(name.c_str()) == nullptr;
        const auto type = static_cast<WbemType>(m_reader.TakeByte());
        const bool hasValue = TakeBool();
        CWbemValue value = hasValue ? TakeValue(type) : EmptyValue(type);
        m_good = IsGood() && object->Put(name.c_str(), std::move(value)) == WbemResult::kSuccess;
        // A type stays when its value goes.
        if (m_good && !hasValue) {
            object->Put(name.c_str(), std::monostate());
        }
    }

    CWbemValue TakeValue(WbemType type) {
        switch (type) {
        case WbemType::Boolean:
            return TakeBool();
        case WbemType::UInt32:
            return m_reader.TakeNumber();
        case WbemType::SInt32:
            return static_cast<std::int32_t>(m_reader.TakeNumber());
        case WbemType::String:
            return m_reader.TakeText(kObjectTextBytes);
        case WbemType::Object:
            return Take();
        case WbemType::ObjectArray:
            return TakeArray();
        default: // Null has no value, and others are no types
            m_good = false;
            return std::monostate();
        }
    }

    CWbemValue EmptyValue(WbemType type) {
        switch (type) {
        case WbemType::Null:
            return std::monostate();
        case WbemType::Boolean:
            return false;
        case WbemType::UInt32:
            return std::uint32_t{0};
        case WbemType::SInt32:
            return std::int32_t{0};
        case WbemType::String:
            return std::string();
        case WbemType::Object:
            return std::make_unique<IWbemClassObject>();
        case WbemType::ObjectArray:
            return CWbemObjectArray();
        default:
            m_good = false;
            return std::monostate();
        }
    }

    CWbemValue TakeArray() {
        const std::uint32_t count = m_reader.TakeNumber();
        CWbemObjectArray array;
        for (std::uint32_t i = 0; i < count && IsGood(); ++i) {
            array.push_back(Take());
        }
        return array;
    }

    bool TakeBool() {
        const std::uint8_t value = m_reader.TakeByte();
        m_good = m_good && value <= 1;
        return value == 1;
    }

    CPayloadReader m_reader;
    std::size_t m_depth = 0;
    std::size_t m_objects = 0;
    bool m_good = true;
};

} // namespace

std::string EncodeObject(const IWbemClassObject& object) {
    CObjectWriter writer;
    writer.Put(object);
    return writer.TakeText();
}

std::unique_ptr<IWbemClassObject> DecodeObject(std::string_view text) {
    CObjectReader reader(text);
    CWbemObjectPtr object = reader.Take();
    return reader.IsWhole() ? std::move(object) : nullptr;
}

} // namespace messages
