#include "support/virtual_serial_ports.h"

#include <algorithm>

namespace kestrane {

class VirtualSerialPorts::Port final : public SerialPort {
public:
    explicit Port(VirtualSerialPorts& ports) : ports_(ports) {}
    ~Port() override { CloseNow(); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    int Open(std::int32_t port, std::int32_t speed) override {
        CloseNow();
        const int result = ports_.TryOpen(*this, port);
        ports_.openings_.push_back({port, speed, result});
        if (result == 0) {
            number_ = port;
            // A cable plugged in again is another line to the one that was opened.
            end_ = ports_.EndAt(port);
            end_->Opened();
        }
        return result;
    }

    void Close() override { CloseNow(); }
    bool IsOpen() override { return number_.has_value(); }

    void Write(std::string_view bytes) override {
        TakeUpWhatIsBack();
        if (LineEnd* end = End()) {
            end->Write(bytes);
        }
    }

    std::string Read(std::size_t maxCount, std::int32_t timeoutMs) override {
        ports_.reads_ += timeoutMs > 0 ? 1 : 0;
        if (!IsOpen() || maxCount == 0) {
            return {};
        }
        TakeUpWhatIsBack();
        if (DeviceIsGone()) {
            return {};
        }
        const VirtualClock::LetsReadsIn reads(ports_.clock_);
        const std::int64_t start = ports_.clock_.Elapsed();
        const std::int64_t limit = start + std::max(timeoutMs, 0);
        for (;;) {
            const std::optional<std::int64_t> arrival = NextArrival();
            if (!arrival || *arrival > limit) {
                ports_.clock_.MoveTo(limit);
                break;
            }
            ports_.clock_.MoveTo(*arrival);
            std::string bytes = End()->Read(maxCount);
            if (!bytes.empty()) {
                return bytes;
            }
            if (ports_.clock_.Elapsed() == limit) {
                break;
            }
            ports_.clock_.Sleep(1);
        }
        if (LineEnd* end = End(); end && timeoutMs > 0) {
            end->Silence(static_cast<std::int32_t>(ports_.clock_.Elapsed() - start));
        }
        return {};
    }

    bool DeviceIsGone() override { return number_ && !End(); }
    std::string DeviceName() override { return number_ ? "virtual line " + std::to_string(*number_) : ""; }

private:
    friend class VirtualSerialPorts;

    void CloseNow() {
        if (number_) {
            ports_.open_.erase(*number_);
            number_.reset();
            end_ = nullptr;
        }
    }
    /// A plug put back is found at the next use, as the real ports find it.
    void TakeUpWhatIsBack() {
        if (number_ && !end_) {
            end_ = ports_.EndAt(*number_);
            if (end_) {
                end_->Opened();
            }
        }
    }
    LineEnd* End() const { return number_ && ports_.EndAt(*number_) == end_ ? end_ : nullptr; }
    std::optional<std::int64_t> NextArrival() const {
        LineEnd* end = End();
        const std::optional<std::int32_t> wait = end ? end->NextByteIn() : std::nullopt;
        return wait ? std::optional(ports_.clock_.Elapsed() + std::max(*wait, 0)) : std::nullopt;
    }

    VirtualSerialPorts& ports_;
    std::optional<std::int32_t> number_;
    LineEnd* end_ = nullptr;
};

std::unique_ptr<SerialPort> VirtualSerialPorts::CreatePort() {
    return std::make_unique<Port>(*this);
}

SerialPortEntry VirtualSerialPorts::EntryOf(std::int32_t number) const {
    const KnownPort& port = known_.at(number);
    return {number, "COM" + std::to_string(number), port.device, port.present};
}

SerialPortList VirtualSerialPorts::ListPorts() {
    ++listings_;
    SerialPortList list;
    std::int32_t number = 1;
    for (auto& [device, end] : waiting_) {
        while (known_.contains(number)) {
            ++number;
        }
        known_[number] = {std::move(device), true};
        list.numberedNow.push_back(EntryOf(number));
        if (end != nullptr) {
            ends_[number] = end;
        }
    }
    waiting_.clear();
    for (const auto& [known, port] : known_) {
        list.ports.push_back(EntryOf(known));
    }
    list.troubles = troubles_;
    return list;
}

void VirtualSerialPorts::Connect(std::int32_t port, LineEnd& end) {
    Disconnect(port);
    ends_[port] = &end;
    known_.try_emplace(port, KnownPort{"virtual line " + std::to_string(port)}).first->second.present = true;
}

void VirtualSerialPorts::Connect(std::int32_t port, std::unique_ptr<LineEnd> end) {
    Connect(port, *end);
    keptEnds_[port] = std::move(end);
}

void VirtualSerialPorts::Splice(std::int32_t port, LineEnd& end) {
    Connect(port, end);
    if (const auto open = open_.find(port); open != open_.end()) {
        open->second->end_ = &end;
    }
}

void VirtualSerialPorts::Disconnect(std::int32_t port) {
    if (const auto open = open_.find(port); open != open_.end()) {
        open->second->end_ = nullptr;
    }
    ends_.erase(port);
    keptEnds_.erase(port);
    if (const auto known = known_.find(port); known != known_.end()) {
        known->second.present = false;
    }
}

bool VirtualSerialPorts::IsOpen(std::int32_t port) const {
    return open_.contains(port);
}

LineEnd* VirtualSerialPorts::EndAt(std::int32_t port) const {
    const auto end = ends_.find(port);
    return end == ends_.end() ? nullptr : end->second;
}

int VirtualSerialPorts::TryOpen(Port& opener, std::int32_t port) {
    if (const auto error = openErrors_.find(port); error != openErrors_.end() && error->second != 0) {
        return error->second;
    }
    if (!EndAt(port)) {
        return kNoSuchPort;
    }
    if (IsOpen(port)) {
        return kAccessDenied;
    }
    open_[port] = &opener;
    return 0;
}

}  // namespace kestrane
