#include "platform/realtime/rt_link.h"

#include <asio.hpp>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace velmar::rt {

namespace {

using asio::ip::tcp;

// The in-process hello is answered before Call returns; the wait never runs.
constexpr int kWaitHello = 1000;

// What every link shares: numbered calls waiting for their replies, and the
// push handler.
class CallTable {
 public:
  uint32_t Open() {
    std::lock_guard lock(mutex_);
    const uint32_t id = nextId_++;
    if (nextId_ == 0) nextId_ = 1;  // 0 marks pushed messages
    waiting_[id];
    return id;
  }
  // Gives the reply to its call; false for no such call.
  bool Answer(Frame frame) {
    std::lock_guard lock(mutex_);
    auto found = waiting_.find(frame.requestId);
    if (found == waiting_.end()) return false;
    found->second = std::move(frame.payload);
    changed_.notify_all();
    return true;
  }
  KivResult Wait(uint32_t id, std::vector<uint8_t>* reply, std::chrono::milliseconds wait) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, wait, [&] { return lost_ || waiting_[id].has_value(); });
    auto slot = std::move(waiting_[id]);
    waiting_.erase(id);
    if (slot) {
      *reply = std::move(*slot);
      return S_OK;
    }
    return lost_ ? kRtConnectionLost : E_FAIL;
  }
  // The link broke: the handler hears it once, calls fail from now on.
  void Lose() {
    PushHandler handler;
    {
      std::lock_guard lock(mutex_);
      if (lost_) return;
      lost_ = true;
      changed_.notify_all();
      handler = handler_;
    }
    if (handler) handler(Frame{RtType::kStatus, 0, Encode(StatusMsg{kRtConnectionLost, u"Connection lost"})});
  }
  bool lost() {
    std::lock_guard lock(mutex_);
    return lost_;
  }
  void Push(Frame frame) {
    PushHandler handler;
    {
      std::lock_guard lock(mutex_);
      handler = handler_;
    }
    if (handler) handler(std::move(frame));
  }
  void SetHandler(PushHandler handler) {
    std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<uint32_t, std::optional<std::vector<uint8_t>>> waiting_;
  uint32_t nextId_ = 1;
  bool lost_ = false;
  PushHandler handler_;
};

// What both links share: their table of calls, and the push handler.
class TableLink : public RtLink {
 public:
  KivResult Finish(uint32_t id, std::vector<uint8_t>* reply, std::chrono::milliseconds wait) override {
    return id == 0 ? kRtConnectionLost : calls_.Wait(id, reply, wait);
  }
  void SetPushHandler(PushHandler handler) override { calls_.SetHandler(std::move(handler)); }

 protected:
  CallTable calls_;
};

class TcpLink final : public TableLink {
 public:
  TcpLink() : socket_(io_) {}
  ~TcpLink() override { Close(); }

  KivResult Open(const std::string& host, uint16_t port, std::chrono::milliseconds wait) {
    std::error_code ec;
    tcp::resolver resolver(io_);
    const auto endpoints = resolver.resolve(host, std::to_string(port), ec);
    if (ec) return E_FAIL;
    asio::connect(socket_, endpoints, ec);
    if (ec) return E_FAIL;
    socket_.set_option(tcp::no_delay(true), ec);
    ReadMore();
    thread_ = std::thread([this] { io_.run(); });
    std::vector<uint8_t> reply;
    HelloMsg hello;
    if (Failed(Call(RtType::kHello, Encode(HelloMsg{}), &reply, wait)) || Failed(Decode(reply, &hello)) ||
        hello.magic != kHelloMagic || hello.version != kProtocolVersion) {
      return E_FAIL;
    }
    return S_OK;
  }

  uint32_t Begin(RtType type, std::vector<uint8_t> payload) override {
    if (calls_.lost()) return 0;
    const uint32_t id = calls_.Open();
    auto bytes = std::make_shared<std::vector<uint8_t>>(EncodeFrame(Frame{type, id, std::move(payload)}));
    asio::post(io_, [this, bytes] {
      std::error_code ec;
      asio::write(socket_, asio::buffer(*bytes), ec);  // the socket thread writes the small requests itself
      if (ec) calls_.Lose();
    });
    return id;
  }

  void Close() override {
    calls_.SetHandler(nullptr);
    if (!thread_.joinable()) return;
    asio::post(io_, [this] {
      std::error_code ignored;
      socket_.shutdown(tcp::socket::shutdown_both, ignored);
      socket_.close(ignored);
    });
    thread_.join();
  }

 private:
  void ReadMore() {
    socket_.async_read_some(asio::buffer(buffer_), [this](std::error_code ec, size_t n) {
      if (ec || !decoder_.Feed({buffer_.data(), n})) return calls_.Lose();
      while (auto frame = decoder_.Next()) {
        if (frame->type == RtType::kReply || frame->type == RtType::kHello) {
          calls_.Answer(std::move(*frame));
        } else if (IsPushed(frame->type)) {
          calls_.Push(std::move(*frame));
        } else {
          return calls_.Lose();
        }
      }
      if (decoder_.error() != FrameDecoder::Error::kNone) return calls_.Lose();
      ReadMore();
    });
  }

  asio::io_context io_;
  tcp::socket socket_;
  std::thread thread_;
  std::array<uint8_t, 64 * 1024> buffer_{};
  FrameDecoder decoder_;
};

// The server's session for an in-process link: frames go straight to the
// link's decoder, as they would come off a socket.
class InProcessSession final : public RtSession {
 public:
  explicit InProcessSession(CallTable* calls) : calls_(calls) {}
  bool Send(std::vector<uint8_t> bytes) override {
    std::lock_guard lock(mutex_);
    if (!calls_) return false;
    if (!decoder_.Feed(bytes)) return false;
    while (auto frame = decoder_.Next()) {
      if (IsPushed(frame->type)) {
        calls_->Push(std::move(*frame));
      } else {
        calls_->Answer(std::move(*frame));
      }
    }
    return true;
  }
  void Close() override {
    std::lock_guard lock(mutex_);
    if (calls_) calls_->Lose();
    calls_ = nullptr;
  }

 private:
  std::mutex mutex_;
  CallTable* calls_;
  FrameDecoder decoder_;
};

class InProcessLink final : public TableLink {
 public:
  explicit InProcessLink(std::shared_ptr<RtServer> server)
      : server_(std::move(server)), session_(std::make_shared<InProcessSession>(&calls_)) {
    server_->Attach(session_);
  }
  ~InProcessLink() override { Close(); }

  uint32_t Begin(RtType type, std::vector<uint8_t> payload) override {
    if (calls_.lost()) return 0;
    const uint32_t id = calls_.Open();
    FrameDecoder decoder;  // the request goes through the bytes, as on a socket
    if (decoder.Feed(EncodeFrame(Frame{type, id, std::move(payload)}))) {
      if (auto frame = decoder.Next()) server_->Handle(session_, *frame);
    }
    return id;
  }
  void Close() override {
    calls_.SetHandler(nullptr);
    server_->Detach(session_.get());
    session_->Close();
  }

 private:
  std::shared_ptr<RtServer> server_;
  std::shared_ptr<InProcessSession> session_;
};

}  // namespace

KivResult ConnectTcpLink(const std::string& host, uint16_t port, std::chrono::milliseconds wait,
                         std::unique_ptr<RtLink>* link) {
  auto tcp = std::make_unique<TcpLink>();
  if (Failed(tcp->Open(host, port, wait))) return E_FAIL;
  *link = std::move(tcp);
  return S_OK;
}

std::unique_ptr<RtLink> ConnectInProcessLink(std::shared_ptr<RtServer> server) {
  auto link = std::make_unique<InProcessLink>(std::move(server));
  std::vector<uint8_t> reply;
  (void)link->Call(RtType::kHello, Encode(HelloMsg{}), &reply, std::chrono::milliseconds(kWaitHello));
  return link;
}

}  // namespace velmar::rt
