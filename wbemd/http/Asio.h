#pragma once

// The one door to Boost, for CServer.cpp and what it alone includes.

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/write.hpp>

#include <chrono>

namespace wbemd {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;
using Clock = std::chrono::steady_clock;

// Bound to the one kind of executor there is, which spares indirect calls.
using CExecutor = asio::io_context::executor_type;
using CSocket = asio::basic_stream_socket<asio::ip::tcp, CExecutor>;
using CAcceptor = asio::basic_socket_acceptor<asio::ip::tcp, CExecutor>;
using CLocalSocket = asio::basic_stream_socket<asio::local::stream_protocol, CExecutor>;
using CTimer = asio::basic_waitable_timer<Clock, asio::wait_traits<Clock>, CExecutor>;

} // namespace wbemd
