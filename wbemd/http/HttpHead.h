#pragma once

#include <tl/expected.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Reading the head of an HTTP/1 request, strictly: what one program takes for something else than
// another does is no request.
namespace wbemd {

inline constexpr std::size_t kHeadBytes = std::size_t{16} * 1024; // of a head, at most

// Texts compared as HTTP compares its names: A to Z equal a to z.
bool IsSameName(std::string_view left, std::string_view right);

struct CHttpHead {
    std::string m_method;
    std::string m_target;
    bool m_isHttp10 = false; // HTTP/1.0; else HTTP/1.1
    // Names as they were sent; values without the blanks around them.
    std::vector<std::pair<std::string, std::string>> m_fields;

    [[nodiscard]] std::size_t Count(std::string_view name) const;
    // The values of all fields of this name, joined with ", "; nothing when there is none.
    [[nodiscard]] std::optional<std::string> Find(std::string_view name) const;
    // Whether the token is among the words, which commas separate, of the fields of this name.
    [[nodiscard]] bool HasToken(std::string_view name, std::string_view token) const;
    // Whether the fields of this name hold tokens, which commas separate, and nothing else.
    [[nodiscard]] bool HasOnlyTokens(std::string_view name) const;
};

// How far a head has come in.
struct CHeadExtent {
    enum class State { Incomplete, Complete, Malformed, TooLong };
    State m_state = State::Incomplete;
    std::size_t m_length = 0; // of a complete head, with the empty line at its end
};

// Looks for the end of the head that the text begins with. Each line must end with CR LF. The first
// `known` bytes were looked at before, and the head was incomplete then.
CHeadExtent FindHeadEnd(std::string_view text, std::size_t known);

// Reads a complete head, or says which status answers it: 400, or 505 for another version of HTTP.
// One empty line before it is ignored: there are clients that end a body with one.
tl::expected<CHttpHead, unsigned> ReadHead(std::string_view text);

} // namespace wbemd
