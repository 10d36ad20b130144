#include "platform/realtime/rt_tcp_server.h"

#include <asio.hpp>
#include <deque>
#include <mutex>

namespace velmar::rt {

namespace {

using asio::ip::tcp;

// One connection: reads frames and hands them to the server; writes what
// the server sends, one buffer at a time, in order. Every handler runs on
// the server's one socket thread; Send comes from any thread.
class TcpSession final : public RtSession, public std::enable_shared_from_this<TcpSession> {
 public:
  TcpSession(tcp::socket socket, std::shared_ptr<RtServer> server, size_t maxQueued)
      : socket_(std::move(socket)), server_(std::move(server)), maxQueued_(maxQueued) {}

  void Begin() {
    std::error_code ignored;
    socket_.set_option(tcp::no_delay(true), ignored);
    server_->Attach(shared_from_this());
    ReadMore();
  }

  bool Send(std::vector<uint8_t> frame) override {
    std::lock_guard lock(mutex_);
    if (closed_) return false;
    if (queued_ + frame.size() > maxQueued_) {  // a client that stopped reading: drop it
      closed_ = true;
      asio::post(socket_.get_executor(), [self = shared_from_this()] { self->Shut(); });
      return false;
    }
    queued_ += frame.size();
    queue_.push_back(std::move(frame));
    if (!writing_) {
      writing_ = true;
      // Posted under the lock: once Shut has run, no post can follow.
      asio::post(socket_.get_executor(), [self = shared_from_this()] { self->WriteNext(); });
    }
    return true;
  }

  void Close() override {
    std::lock_guard lock(mutex_);
    if (closed_) return;
    closed_ = true;
    asio::post(socket_.get_executor(), [self = shared_from_this()] { self->Shut(); });
  }

  // On the socket thread.
  void Shut() {
    {
      std::lock_guard lock(mutex_);
      closed_ = true;
    }
    std::error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
    server_->Detach(this);
  }

 private:
  bool closed() {
    std::lock_guard lock(mutex_);
    return closed_;
  }

  void ReadMore() {
    socket_.async_read_some(asio::buffer(buffer_),
                            [self = shared_from_this()](std::error_code ec, size_t n) { self->OnRead(ec, n); });
  }

  void OnRead(std::error_code ec, size_t n) {
    if (ec || closed() || !decoder_.Feed({buffer_.data(), n})) return Shut();
    while (auto frame = decoder_.Next()) {
      if (!IsKnownType(static_cast<uint16_t>(frame->type))) return Shut();
      server_->Handle(shared_from_this(), *frame);
      if (closed()) return Shut();
    }
    if (decoder_.error() != FrameDecoder::Error::kNone) return Shut();
    ReadMore();
  }

  void WriteNext() {
    const std::vector<uint8_t>* front = nullptr;
    {
      std::lock_guard lock(mutex_);
      if (closed_ || queue_.empty()) {
        writing_ = false;
        return;
      }
      front = &queue_.front();  // stays put: a deque keeps its elements where they are
    }
    asio::async_write(socket_, asio::buffer(*front),
                      [self = shared_from_this()](std::error_code ec, size_t) { self->OnWritten(ec); });
  }

  void OnWritten(std::error_code ec) {
    {
      std::lock_guard lock(mutex_);
      queued_ -= queue_.front().size();
      queue_.pop_front();
    }
    if (ec) return Shut();
    WriteNext();
  }

  tcp::socket socket_;
  std::shared_ptr<RtServer> server_;
  const size_t maxQueued_;
  std::array<uint8_t, 64 * 1024> buffer_{};
  FrameDecoder decoder_;
  std::mutex mutex_;
  std::deque<std::vector<uint8_t>> queue_;
  size_t queued_ = 0;
  bool writing_ = false;
  bool closed_ = false;
};

}  // namespace

struct RtTcpServer::Impl {
  asio::io_context io;
  tcp::acceptor acceptor{io};
  std::shared_ptr<RtServer> server;
  size_t maxQueued = kMaxQueuedBytes;
  std::vector<std::weak_ptr<TcpSession>> sessions;  // socket thread only

  void Accept() {
    acceptor.async_accept([this](std::error_code ec, tcp::socket socket) {
      if (ec) return;  // the acceptor was closed
      auto session = std::make_shared<TcpSession>(std::move(socket), server, maxQueued);
      std::erase_if(sessions, [](const auto& s) { return s.expired(); });
      sessions.push_back(session);
      session->Begin();
      Accept();
    });
  }
  // On the socket thread: nothing is left to run afterwards, so run() ends.
  void ShutAll() {
    std::error_code ignored;
    acceptor.close(ignored);
    for (const auto& weak : sessions) {
      if (auto session = weak.lock()) session->Shut();
    }
  }
};

RtTcpServer::RtTcpServer(std::shared_ptr<RtServer> server, size_t maxQueuedBytes)
    : server_(std::move(server)), maxQueuedBytes_(maxQueuedBytes) {}

RtTcpServer::~RtTcpServer() { Stop(); }

KivResult RtTcpServer::Start(const std::string& address, uint16_t port, std::string* error) {
  if (impl_) return S_FALSE;
  auto impl = std::make_unique<Impl>();
  impl->server = server_;
  impl->maxQueued = maxQueuedBytes_;
  std::error_code ec;
  const tcp::endpoint endpoint(asio::ip::make_address(address, ec), port);
  if (!ec) impl->acceptor.open(endpoint.protocol(), ec);
  if (!ec) impl->acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
  if (!ec) impl->acceptor.bind(endpoint, ec);
  if (!ec) impl->acceptor.listen(asio::socket_base::max_listen_connections, ec);
  if (ec) {
    if (error) *error = ec.message();
    return E_FAIL;
  }
  port_ = impl->acceptor.local_endpoint().port();
  impl->Accept();
  impl_ = std::move(impl);
  thread_ = std::thread([io = &impl_->io] { io->run(); });
  return S_OK;
}

void RtTcpServer::Stop() {
  if (!impl_) return;
  asio::post(impl_->io, [impl = impl_.get()] { impl->ShutAll(); });
  if (thread_.joinable()) thread_.join();
  impl_.reset();
}

}  // namespace velmar::rt
