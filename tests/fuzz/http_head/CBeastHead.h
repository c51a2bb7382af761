#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What Boost.Beast, a reader that others wrote, makes of the head of a request that the text begins
// with.
struct CBeastHead {
    explicit CBeastHead(std::string_view text);

    // What it finds wrong with the head, if anything.
    enum class Problem { None, BodyLength, FieldValue, Other };
    Problem m_problem = Problem::None;

    // The head as far as it was taken: the field that is wrong is missing.
    std::string m_method;
    std::string m_target;
    bool m_isHttp10 = false;
    std::vector<std::pair<std::string, std::string>> m_fields;

    // Of a head that was taken whole.
    std::size_t m_length = 0; // with the empty line at its end
    std::optional<std::uint64_t> m_bodyBytes;
    bool m_keepOpen = false;
};
