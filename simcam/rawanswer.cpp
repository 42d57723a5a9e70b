#include "simcam/rawanswer.h"

// microhttpd.h uses the socket types without including them.
#include <netinet/in.h>
// Keep this order.
#include <fcntl.h>
#include <microhttpd.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace simcam {

namespace {

using SteadyClock = std::chrono::steady_clock;
using Headers = std::vector<std::pair<std::string, std::string>>;

// Owner of a descriptor.
class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  ~Descriptor() {
    if (m_number >= 0) {
      close(m_number);
    }
  }
  Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;

  int Number() const { return m_number; }

 private:
  int m_number;
};

std::string Hexadecimal(std::size_t number) {
  std::array<char, 2 * sizeof number + 1> text{};
  std::snprintf(text.data(), text.size(), "%zx", number);
  return text.data();
}

// The headers that say how long the body is.
Headers FramingHeaders(const RawPlan& plan, std::size_t size) {
  const long long claimed = std::max(static_cast<long long>(size) + plan.lengthError, 0LL);
  const std::pair<std::string, std::string> length("Content-Length", std::to_string(claimed));
  switch (plan.framing) {
    case RawPlan::Framing::Length:
      return {length};
    case RawPlan::Framing::BadLength:
      return {{"Content-Length", plan.length}};
    case RawPlan::Framing::TwoLengths:
      return {length, {"Content-Length", std::to_string(size / 2)}};
    case RawPlan::Framing::UntilClose:
      return {};
    case RawPlan::Framing::BadChunks:
    case RawPlan::Framing::ChunksNoEnd:
      break;
  }
  return {{"Transfer-Encoding", "chunked"}};
}

std::string FramedBody(const RawPlan& plan, const std::string& body) {
  switch (plan.framing) {
    case RawPlan::Framing::BadChunks:
      return "size\r\n" + body + "\r\n0\r\n\r\n";
    case RawPlan::Framing::ChunksNoEnd:
      return Hexadecimal(body.size()) + "\r\n" + body + "\r\n";
    default:
      return body;
  }
}

std::string HeaderLine(const RawPlan& plan, std::string name, const std::string& value) {
  if (plan.headerStyle == RawPlan::HeaderStyle::LowerCase) {
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  }
  const bool isFolded = plan.headerStyle == RawPlan::HeaderStyle::Folded;
  return name + ":" + (isFolded ? std::string(plan.lineEnd) + " " : std::string(" ")) + value + plan.lineEnd;
}

std::string Head(const HttpAnswer& answer, const RawPlan& plan) {
  const auto status = static_cast<unsigned>(answer.status);
  std::string head = plan.statusLine.empty()
                         ? "HTTP/1.1 " + std::to_string(status) + " " + MHD_get_reason_phrase_for(status)
                         : plan.statusLine;
  head += plan.lineEnd;
  Headers headers = FramingHeaders(plan, answer.body.size());
  if (!answer.contentType.empty()) {
    headers.emplace_back("Content-Type", answer.contentType);
  }
  headers.insert(headers.end(), answer.headers.begin(), answer.headers.end());
  if (plan.tellsClose) {
    headers.emplace_back("Connection", "close");
  }
  for (const auto& [name, value] : headers) {
    head += HeaderLine(plan, name, value);
  }
  return head + plan.lineEnd;
}

// A sending on its way.
struct Job {
  Job(Descriptor duplicate, Sending what)
      : socket(std::move(duplicate)),
        sending(std::move(what)),
        next(SteadyClock::now() + sending.delay),
        deadline(SteadyClock::now() + kMaxSendingTime) {}

  bool Begin() const { return !sending.plan || sending.plan->Begin(); }
  bool IsCalledOff() const { return sending.plan && sending.plan->IsCalledOff(); }
  bool IsSent() const { return sent == sending.bytes.size(); }

  Descriptor socket;
  Sending sending;
  SteadyClock::time_point next;  // nothing happens before
  SteadyClock::time_point deadline;
  std::size_t sent = 0;
  bool isSilent = false;
};

// A TCP socket that is disconnected tells its other side by a reset, at once. Where that fails, there is no other side.
void Reset(int socket) {
  sockaddr nowhere{};
  nowhere.sa_family = AF_UNSPEC;
  [[maybe_unused]] const int result = connect(socket, &nowhere, sizeof nowhere);
}

// Returns false when the connection is broken.
bool SendSome(Job& job, SteadyClock::time_point now) {
  const bool isPaced = job.sending.pausePerByte.count() > 0;
  while (!job.IsSent()) {
    const std::size_t count = isPaced ? 1 : job.sending.bytes.size() - job.sent;
    const ssize_t sent =
        send(job.socket.Number(), job.sending.bytes.data() + job.sent, count, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) {
      return errno == EAGAIN || errno == EINTR;
    }
    job.sent += static_cast<std::size_t>(sent);
    if (isPaced) {
      job.next = now + job.sending.pausePerByte;
      return true;
    }
  }
  return true;
}

// Ends what is to be ended. Returns false when the job goes on in silence.
bool End(Job& job) {
  if (!job.sending.endsConnection) {
    return true;
  }
  if (job.sending.end == RawPlan::End::Silence) {
    job.isSilent = true;
    return false;
  }
  if (job.sending.end == RawPlan::End::Reset) {
    Reset(job.socket.Number());
  } else {
    shutdown(job.socket.Number(), SHUT_RDWR);
  }
  return true;
}

void Cut(const Job& job) {
  if (job.sending.endsConnection && job.Begin()) {
    shutdown(job.socket.Number(), SHUT_RDWR);
  }
}

// Does what is due. Returns true when the job is at its end.
bool Step(Job& job, SteadyClock::time_point now) {
  if (job.IsCalledOff()) {
    return true;
  }
  if (now >= job.deadline) {
    Cut(job);
    return true;
  }
  if (job.isSilent || now < job.next) {
    return false;
  }
  if (!job.Begin()) {
    return true;
  }
  if (!SendSome(job, now)) {
    Cut(job);
    return true;
  }
  return job.IsSent() && End(job);
}

}  // namespace

std::string RenderRaw(const HttpAnswer& answer, const RawPlan& plan) {
  std::string bytes = plan.before + (plan.hasHead ? Head(answer, plan) : "") + FramedBody(plan, answer.body);
  bytes.resize(std::min(bytes.size(), plan.stopAfter.value_or(bytes.size())));
  return bytes;
}

class RawSender::Worker {
 public:
  Worker() : m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_wake.Number() < 0) {
      throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    m_thread = std::thread([this] { Run(); });
  }

  ~Worker() { Stop(); }

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  bool Take(Sending sending) {
    Descriptor duplicate(fcntl(sending.socket, F_DUPFD_CLOEXEC, 0));
    if (duplicate.Number() < 0) {
      return false;
    }
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      if (m_isStopping) {
        return false;
      }
      m_arrived.emplace_back(std::move(duplicate), std::move(sending));
    }
    Wake();
    return true;
  }

  void Stop() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_isStopping = true;
    }
    Wake();
    if (m_thread.joinable()) {
      m_thread.join();
    }
  }

 private:
  void Wake() const {
    const std::uint64_t one = 1;
    // A full counter has woken the thread already.
    [[maybe_unused]] const ssize_t written = write(m_wake.Number(), &one, sizeof one);
  }

  // Returns false when it is time to stop.
  bool TakeArrived() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.splice(m_jobs.end(), m_arrived);
    return !m_isStopping;
  }

  void Run() {
    while (TakeArrived()) {
      StepAll();
      while (m_jobs.size() > kMaxSendings) {
        Cut(m_jobs.front());
        Finish(m_jobs.begin());
      }
      Wait();
    }
    while (!m_jobs.empty()) {
      Cut(m_jobs.front());
      Finish(m_jobs.begin());
    }
  }

  // Returns the job behind it.
  std::list<Job>::iterator Finish(std::list<Job>::iterator job) {
    const std::function<void()> done = std::move(job->sending.done);
    const auto following = m_jobs.erase(job);
    if (done) {
      done();
    }
    return following;
  }

  void StepAll() {
    const SteadyClock::time_point now = SteadyClock::now();
    for (auto job = m_jobs.begin(); job != m_jobs.end();) {
      job = Step(*job, now) ? Finish(job) : std::next(job);
    }
  }

  // Until something is due, a socket can go on, a client has left or something has arrived.
  void Wait() {
    const SteadyClock::time_point now = SteadyClock::now();
    SteadyClock::time_point wakeUp = now + kMaxSendingTime;
    std::vector<pollfd> watched{{m_wake.Number(), POLLIN, 0}};
    for (const Job& job : m_jobs) {
      const bool isReady = !job.isSilent && job.next <= now;
      wakeUp = std::min(wakeUp, isReady || job.isSilent ? job.deadline : std::min(job.next, job.deadline));
      watched.push_back({job.socket.Number(), static_cast<short>(POLLRDHUP | (isReady ? POLLOUT : 0)), 0});
    }
    // Rounded up, so that what is waited for is due afterwards.
    const auto timeout = std::chrono::ceil<std::chrono::milliseconds>(wakeUp - now).count();
    poll(watched.data(), watched.size(), static_cast<int>(std::max<decltype(timeout)>(timeout, 0)));
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(m_wake.Number(), &count, sizeof count);
    FinishLeft(watched);
  }

  // The clients that have left, as seen by poll() in the order of the jobs.
  void FinishLeft(const std::vector<pollfd>& watched) {
    auto job = m_jobs.begin();
    for (std::size_t i = 1; i < watched.size(); ++i) {
      const bool hasLeft = (watched[i].revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
      job = hasLeft ? Finish(job) : std::next(job);
    }
  }

  const Descriptor m_wake;
  std::mutex m_mutex;
  std::list<Job> m_arrived;
  bool m_isStopping = false;
  std::list<Job> m_jobs;  // used on the thread only
  std::thread m_thread;
};

RawSender::RawSender() : m_worker(std::make_unique<Worker>()) {}

RawSender::~RawSender() = default;

bool RawSender::Take(Sending sending) {
  return m_worker->Take(std::move(sending));
}

void RawSender::Stop() {
  m_worker->Stop();
}

}  // namespace simcam
