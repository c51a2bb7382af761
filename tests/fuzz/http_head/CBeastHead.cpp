#include "tests/fuzz/http_head/CBeastHead.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/basic_parser.hpp>

#include <limits>

namespace http = boost::beast::http;
using boost::beast::error_code;
using View = boost::beast::string_view;

namespace {

constexpr int kHttp10 = 10;

std::string Text(View view) {
    return {view.data(), view.size()};
}

// Beast's parser itself. Its ready-made ones sort the fields.
class CParser : public http::basic_parser<true> {
public:
    explicit CParser(CBeastHead* head) : m_head(head) {
        header_limit(std::numeric_limits<std::uint32_t>::max());
        body_limit(std::numeric_limits<std::uint64_t>::max());
    }

private:
    void on_request_impl(http::verb /*verb*/, View method, View target, int version,
                         error_code& /*error*/) override {
        m_head->m_method = Text(method);
        m_head->m_target = Text(target);
        m_head->m_isHttp10 = version == kHttp10;
    }
    void on_field_impl(http::field /*field*/, View name, View value,
                       error_code& /*error*/) override {
        m_head->m_fields.emplace_back(Text(name), Text(value));
    }

    // Nothing of this belongs to the head of a request.
    void on_response_impl(int /*code*/, View /*reason*/, int /*version*/,
                          error_code& /*error*/) override {}
    void on_header_impl(error_code& /*error*/) override {}
    void on_body_init_impl(const boost::optional<std::uint64_t>& /*length*/,
                           error_code& /*error*/) override {}
    std::size_t on_body_impl(View body, error_code& /*error*/) override { return body.size(); }
    void on_chunk_header_impl(std::uint64_t /*size*/, View /*extensions*/,
                              error_code& /*error*/) override {}
    std::size_t on_chunk_body_impl(std::uint64_t /*remaining*/, View body,
                                   error_code& /*error*/) override {
        return body.size();
    }
    void on_finish_impl(error_code& /*error*/) override {}

    CBeastHead* m_head;
};

CBeastHead::Problem ProblemOf(const error_code& error) {
    if (!error) {
        return CBeastHead::Problem::None;
    }
    if (error == http::error::bad_content_length || error == http::error::bad_transfer_encoding) {
        return CBeastHead::Problem::BodyLength;
    }
    return error == http::error::bad_value ? CBeastHead::Problem::FieldValue
                                           : CBeastHead::Problem::Other;
}

} // namespace

CBeastHead::CBeastHead(std::string_view text) {
    CParser parser(this);
    error_code error;
    const std::size_t taken = parser.put(boost::asio::buffer(text.data(), text.size()), error);
    m_problem = ProblemOf(error);
    if (m_problem != Problem::None || !parser.is_header_done()) {
        return;
    }
    m_length = taken;
    if (const auto length = parser.content_length()) {
        m_bodyBytes = *length;
    }
    m_keepOpen = parser.keep_alive();
}
