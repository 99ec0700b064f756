#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "alpaca/client_object.h"

namespace kestrane::alpaca {

/// What happened to fake devices, in order: "+telescope", "telescope true", "telescope false", "-telescope". Read
/// from any thread.
class DeviceDiary {
public:
    void Note(std::string entry) {
        const std::lock_guard lock(mutex_);
        entries_.push_back(std::move(entry));
    }
    std::vector<std::string> Entries() const {
        const std::lock_guard lock(mutex_);
        return entries_;
    }
    int Count(const std::string& entry) const {
        const std::lock_guard lock(mutex_);
        int count = 0;
        for (const std::string& other : entries_) {
            count += other == entry ? 1 : 0;
        }
        return count;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> entries_;
};

/// A world of fake devices, and hooks into it.
struct FakeWorld {
    DeviceDiary diary;
    std::function<void(DeviceKind)> onCreate;  ///< runs inside the creation
    std::function<void(bool)> onConnected;     ///< runs inside each `Connected` write
    std::function<void()> onEndMotions;        ///< runs inside each stop of motions
    bool movesOn = false;                      ///< each device has a motion that its client must end
    bool stopsFail = false;                    ///< such motions go on when they are ended
};

class FakeDevice final : public DeviceObject {
public:
    FakeDevice(FakeWorld& world, DeviceKind kind) : world_(world), name_(PathName(kind)) {
        world_.diary.Note("+" + name_);
    }
    ~FakeDevice() override { world_.diary.Note("-" + name_); }
    FakeDevice(const FakeDevice&) = delete;
    FakeDevice& operator=(const FakeDevice&) = delete;

    bool Connected() override { return connected_; }
    void Connected(bool connect) override {
        if (world_.onConnected) {
            world_.onConnected(connect);
        }
        connected_ = connect;
        world_.diary.Note(name_ + (connect ? " true" : " false"));
    }

    bool MovesOn() override { return world_.movesOn; }
    void EndMotions() override {
        world_.movesOn = world_.stopsFail;
        world_.diary.Note(name_ + " stops");
        if (world_.onEndMotions) {
            world_.onEndMotions();
        }
    }
    void DoesNotBegin(std::string_view member) override {
        world_.diary.Note(name_ + " does not begin " + std::string(member));
    }

private:
    FakeWorld& world_;
    std::string name_;
    bool connected_ = false;
};

class FakeDevices final : public DeviceFactory {
public:
    explicit FakeDevices(FakeWorld& world) : world_(world) {}

    std::unique_ptr<DeviceObject> Create(DeviceKind kind) override {
        if (world_.onCreate) {
            world_.onCreate(kind);
        }
        return std::make_unique<FakeDevice>(world_, kind);
    }

private:
    FakeWorld& world_;
};

}  // namespace kestrane::alpaca
