#include "loggerctl/record/JsonRecord.h"

#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Suggestion.h"
#include "settings/LoggerDefinitions.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <unordered_set>

namespace record {

namespace {

using namespace LoggerDefinitions;
using Json = nlohmann::ordered_json;
using output::ExitCode;
using output::Expected;
using output::Fail;
using Texts = std::vector<std::string>;

// Walks over the text's characters and tells how far the parser has come.
class CReadPosition {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CReadPosition(const char* at, const char** furthest) : m_at(at), m_furthest(furthest) {}
    reference operator*() const { return *m_at; }
    CReadPosition& operator++() {
        *m_furthest = ++m_at;
        return *this;
    }
    bool operator==(const CReadPosition& other) const { return m_at == other.m_at; }
    bool operator!=(const CReadPosition& other) const { return m_at != other.m_at; }

private:
    const char* m_at;
    const char** m_furthest;
};

const CKey* FindKey(const std::string& part, const std::string& property) {
    for (const CKey& key : Keys()) {
        if (part == key.m_part && property == key.m_property) {
            return &key;
        }
    }
    return nullptr;
}

Texts PartNames() {
    Texts names;
    for (const CKey& key : Keys()) {
        if (names.empty() || names.back() != key.m_part) {
            names.emplace_back(key.m_part);
        }
    }
    return names;
}

Texts PropertyNames(const std::string& part) {
    Texts names;
    for (const CKey& key : Keys()) {
        if (part == key.m_part) {
            names.emplace_back(key.m_property);
        }
    }
    if (part == kFsUsageMonitorConf) {
        names.emplace_back(kFsThresholdConfList);
    }
    return names;
}

Texts RowNames() {
    return {kVolumeName, kVolumeNameBytes, kThreshold, kVolMonitoringEnable, kInUse};
}

template <class Number>
bool ReadNumber(const Json& json, Number* number) {
    using Limits = std::numeric_limits<Number>;
    const bool tooGreat = json.is_number_unsigned() &&
                          json.get<std::uint64_t>() > static_cast<std::uint64_t>(Limits::max());
    if (!json.is_number_integer() || tooGreat || json.get<std::int64_t>() < Limits::min() ||
        json.get<std::int64_t>() > Limits::max()) {
        return false;
    }
    *number = json.get<Number>();
    return true;
}

bool ReadValue(const Json& json, bool* value) {
    *value = json.is_boolean() && json.get<bool>();
    return json.is_boolean();
}
bool ReadValue(const Json& json, std::uint32_t* value) {
    return ReadNumber(json, value);
}
bool ReadValue(const Json& json, std::int32_t* value) {
    return ReadNumber(json, value);
}

std::string Wanted(bool /*type*/) {
    return "must be true or false";
}
template <class Number>
std::string Wanted(Number /*type*/) {
    return "must be a whole number from " + std::to_string(std::numeric_limits<Number>::min()) +
           " to " + std::to_string(std::numeric_limits<Number>::max());
}

std::string Shown(const Json& json) {
    constexpr std::size_t kLongest = 40;
    const std::string text = json.dump(-1, ' ', true, Json::error_handler_t::replace);
    return text.size() > kLongest ? text.substr(0, kLongest) + "..." : text;
}

// Takes what the parser finds, in the text's order. Each function answers whether to go on; where
// not, m_problem says why.
class CRecordReader : public nlohmann::json_sax<Json> {
public:
    CRecordReader(const std::string& text, const char* const* furthest)
        : m_text(text),
          m_furthest(furthest),
          m_before(text.data()) {}

    bool null() override { return Scalar(Json()); }
    bool boolean(bool value) override { return Scalar(value); }
    bool number_integer(number_integer_t value) override { return Scalar(value); }
    bool number_unsigned(number_unsigned_t value) override { return Scalar(value); }
    bool number_float(number_float_t value, const string_t& /*text*/) override {
        return Scalar(value);
    }
    bool string(string_t& value) override { return Scalar(value); }
    bool binary(binary_t& /*value*/) override { return false; } // not in text
    bool start_object(std::size_t size) override;
    bool key(string_t& name) override;
    bool end_object() override;
    bool start_array(std::size_t size) override;
    bool end_array() override;
    bool parse_error(std::size_t position, const std::string& token,
                     const nlohmann::detail::exception& error) override;

    std::vector<CAssignment> m_assignments;
    std::string m_problem; // without a full stop, unless it ends in a question
    const char* m_place = nullptr;

private:
    // How deep the parser is.
    enum class Level { Outside, Record, Part, List, Row };

    bool Scalar(const Json& value);
    bool PartMember(const Json& value);
    bool RowMember(const Json& value);
    bool RowName(const Json& value);
    bool EndRow();
    // Wrong here, whatever its value.
    bool WrongKind(const std::string& found);
    bool Assign(CAddress address, CMember member, const Json& value);
    bool Fail(const std::string& what);

    [[nodiscard]] std::string Path() const;
    [[nodiscard]] const char* TokenBegin() const;
    bool GoOn() {
        m_before = *m_furthest;
        return true;
    }

    const std::string& m_text;
    const char* const* m_furthest;
    const char* m_before; // where the last thing found ends

    Level m_level = Level::Outside;
    std::string m_part;
    std::string m_property; // of the part
    std::string m_rowProperty;
    std::size_t m_rows = 0; // begun so far
    std::unordered_set<std::string> m_seenParts;
    std::unordered_set<std::string> m_seenProperties;
    std::unordered_set<std::string> m_seenRowProperties;
    std::unordered_set<std::string> m_seenNames; // of file systems
    CLoggerConf m_types;                         // for the types of members alone
    CLoggerFsThresholdConf m_row;                // the file system that is read
    bool m_hasText = false;                      // its name is one, not bytes
    const char* m_rowBegin = nullptr;
};

bool CRecordReader::start_object(std::size_t /*size*/) {
    switch (m_level) {
    case Level::Outside:
        m_level = Level::Record;
        return GoOn();
    case Level::Record:
        m_level = Level::Part;
        m_seenProperties.clear();
        return GoOn();
    case Level::List:
        m_level = Level::Row;
        m_rowBegin = TokenBegin();
        m_row = CLoggerFsThresholdConf();
        m_hasText = false;
        m_seenRowProperties.clear();
        ++m_rows;
        return GoOn();
    default:
        return WrongKind("an object");
    }
}

bool CRecordReader::key(string_t& name) {
    const bool inRow = m_level == Level::Row;
    const bool inPart = m_level == Level::Part;
    std::string& place = inRow ? m_rowProperty : inPart ? m_property : m_part;
    auto& seen = inRow ? m_seenRowProperties : inPart ? m_seenProperties : m_seenParts;
    place = name.empty() ? "''" : name;
    const Texts names = inRow ? RowNames() : inPart ? PropertyNames(m_part) : PartNames();
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        const std::string question = Question(name, names);
        return Fail("is no member of a record" + (question.empty() ? "" : "." + question));
    }
    return seen.insert(name).second ? GoOn() : Fail("stands there twice");
}

bool CRecordReader::end_object() {
    switch (m_level) {
    case Level::Row:
        if (!EndRow()) {
            return false;
        }
        m_level = Level::List;
        break;
    case Level::Part:
        m_level = Level::Record;
        m_property.clear();
        break;
    default:
        m_level = Level::Outside;
    }
    return GoOn();
}

bool CRecordReader::start_array(std::size_t /*size*/) {
    if (m_level != Level::Part || m_property != kFsThresholdConfList) {
        return WrongKind("an array");
    }
    m_level = Level::List;
    return GoOn();
}

bool CRecordReader::end_array() {
    m_level = Level::Part;
    return GoOn();
}

bool CRecordReader::Scalar(const Json& value) {
    switch (m_level) {
    case Level::Part:
        return PartMember(value);
    case Level::Row:
        return RowMember(value);
    default:
        return WrongKind(Shown(value));
    }
}

bool CRecordReader::WrongKind(const std::string& found) {
    if (m_level == Level::Part && m_property == kFsThresholdConfList) {
        return Fail("must be an array, not " + found);
    }
    if (m_level == Level::Part || m_level == Level::Row) {
        return Fail("must be a single value, not " + found);
    }
    if (m_level == Level::List) {
        ++m_rows;
    }
    return Fail("must be an object, not " + found);
}

bool CRecordReader::PartMember(const Json& value) {
    const CKey* key = FindKey(m_part, m_property);
    if (key == nullptr) {
        return WrongKind(Shown(value));
    }
    return Assign({key->m_name, key}, key->m_member(m_types), value);
}

bool CRecordReader::RowMember(const Json& value) {
    if (m_rowProperty == kInUse) {
        return GoOn();
    }
    for (const CVolumeKey& key : VolumeKeys()) {
        if (m_rowProperty == key.m_property) {
            // The name may follow: EndRow gives it.
            return Assign({"", nullptr, &key}, key.m_member(m_row), value);
        }
    }
    return RowName(value);
}

bool CRecordReader::RowName(const Json& value) {
    if (m_rowProperty == kVolumeNameBytes) {
        const auto bytes = value.is_string() ? output::HexToBytes(value.get<std::string>())
                                             : std::optional<std::string>();
        if (!bytes) {
            return Fail("must be bytes in hexadecimal, not " + Shown(value));
        }
        if (m_hasText) {
            return Fail(std::string("is given besides ") + kVolumeName);
        }
        m_row.m_sVolumeName = *bytes;
        return GoOn();
    }
    if (value.is_null()) {
        return GoOn();
    }
    if (m_seenRowProperties.count(kVolumeNameBytes) != 0) {
        return Fail(std::string("must be null when ") + kVolumeNameBytes + " is given");
    }
    m_hasText = value.is_string();
    m_row.m_sVolumeName = m_hasText ? value.get<std::string>() : "";
    return m_hasText ? GoOn() : Fail("must be a string, not " + Shown(value));
}

bool CRecordReader::EndRow() {
    m_rowProperty.clear();
    const std::string& name = m_row.m_sVolumeName;
    if (name.empty()) {
        m_before = m_rowBegin;
        return Fail(std::string("has no ") + kVolumeName);
    }
    if (!m_seenNames.insert(name).second) {
        m_before = m_rowBegin;
        return Fail("names the file system '" + output::Escape(name) + "', as one before it does");
    }
    for (auto assignment = m_assignments.rbegin();
         assignment != m_assignments.rend() && assignment->m_address.m_volumeKey != nullptr &&
         assignment->m_address.m_name.empty();
         ++assignment) {
        assignment->m_address.m_name = name;
        assignment->m_address.m_text = VolumeKeyText(name, *assignment->m_address.m_volumeKey);
    }
    return true;
}

bool CRecordReader::Assign(CAddress address, CMember member, const Json& value) {
    CValue read = ValueOf(member);
    if (!std::visit([&value](auto& place) { return ReadValue(value, &place); }, read)) {
        return Fail(std::visit([](auto type) { return Wanted(type); }, read) + ", not " +
                    Shown(value));
    }
    m_assignments.push_back({std::move(address), read});
    return GoOn();
}

bool CRecordReader::parse_error(std::size_t /*position*/, const std::string& /*token*/,
                                const nlohmann::detail::exception& error) {
    constexpr int kNumberOutOfRange = 406;
    if (error.id == kNumberOutOfRange) {
        m_place = TokenBegin();
        m_problem = "The text has a number that is greater than any number can be";
    } else {
        m_place = *m_furthest > m_text.data() ? *m_furthest - 1 : m_text.data();
        m_problem = "The text is not JSON";
    }
    return false;
}

bool CRecordReader::Fail(const std::string& what) {
    m_place = TokenBegin();
    const std::string path = Path();
    m_problem = (path.empty() ? "The text" : output::Escape(path)) + " " + what;
    return false;
}

std::string CRecordReader::Path() const {
    std::string path = m_part;
    if (!m_property.empty()) {
        path += "." + m_property;
    }
    if (m_level == Level::Row || (m_level == Level::List && m_rows > 0)) {
        path += "[" + std::to_string(m_rows - 1) + "]";
    }
    if (!m_rowProperty.empty()) {
        path += "." + m_rowProperty;
    }
    return path;
}

// Between two things that are found stand blanks, commas and colons alone.
const char* CRecordReader::TokenBegin() const {
    const char* end = m_text.data() + m_text.size();
    return std::find_if(m_before, end,
                        [](char c) { return std::strchr(" \t\r\n,:", c) == nullptr; });
}

std::string PlaceText(const std::string& text, const char* place) {
    const char* begin = text.data();
    const auto lines = std::count(begin, place, '\n');
    const char* lineBegin = place;
    while (lineBegin > begin && lineBegin[-1] != '\n') {
        --lineBegin;
    }
    return "line " + std::to_string(lines + 1) + ", column " +
           std::to_string(place - lineBegin + 1);
}

} // namespace

Expected<std::vector<CAssignment>> FromJson(const std::string& text, const std::string& source) {
    const char* furthest = text.data();
    CRecordReader reader(text, &furthest);
    const CReadPosition begin(text.data(), &furthest);
    const CReadPosition end(text.data() + text.size(), &furthest);
    if (Json::sax_parse(begin, end, &reader)) {
        return std::move(reader.m_assignments);
    }
    const bool question = reader.m_problem.back() == '?';
    return Fail(ExitCode::Usage, "In " + source + ", " + PlaceText(text, reader.m_place) + ": " +
                                     reader.m_problem + (question ? "" : "."));
}

} // namespace record
