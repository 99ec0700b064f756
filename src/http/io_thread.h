#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <functional>
#include <thread>

namespace kestrane::http {

/// The thread that waits for clients and for their bytes. Used by the thread that made it.
class IoThread {
public:
    IoThread() = default;
    ~IoThread() { Stop({}); }
    IoThread(const IoThread&) = delete;
    IoThread& operator=(const IoThread&) = delete;

    boost::asio::io_context& Context() { return context_; }
    void Start();
    /// Runs a function on the thread, after what was posted before. The only member that any thread may use.
    void Post(std::function<void()> function);
    /// Ends the thread and waits for its end; `last` is the last function to run on it. Does nothing when no thread
    /// runs.
    void Stop(const std::function<void()>& last);

private:
    boost::asio::io_context context_{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{context_.get_executor()};
    std::thread thread_;
};

}  // namespace kestrane::http
