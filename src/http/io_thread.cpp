#include "http/io_thread.h"

#include <boost/asio/post.hpp>
#include <utility>

namespace kestrane::http {

void IoThread::Start() {
    thread_ = std::thread([this] { context_.run(); });
}

void IoThread::Post(std::function<void()> function) {
    boost::asio::post(context_, std::move(function));
}

void IoThread::Stop(const std::function<void()>& last) {
    if (!thread_.joinable()) {
        return;
    }
    Post([this, &last] {
        if (last) {
            last();
        }
        context_.stop();
    });
    thread_.join();
}

}  // namespace kestrane::http
