#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The sockets that the activator binds for its driver.
namespace kestrane::alpaca {

/// A reason why the activator cannot work; the message is for its user.
struct ActivationError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Raises `ActivationError` with the reason that the last system call gave.
[[noreturn]] void FailActivation(const std::string& what);

/// A descriptor of this process, closed at the end.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        Close();
        number_ = std::exchange(other.number_, -1);
        return *this;
    }
    int Number() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }

private:
    void Close();

    int number_;
};

/// "127.0.0.1:11111" or "[::1]:11111".
std::string AddressText(const std::string& address, std::uint16_t port);

/// A socket that listens at an IP address. Port 0 takes any free one. Raises `ActivationError` when it cannot.
Descriptor BindHttp(const std::string& address, std::uint16_t port);

/// A datagram socket on all addresses, since a socket on a loopback address never sees the broadcasts of clients on the
/// same machine. Other servers on this machine may listen there too; where they do not share the port, discovery stays
/// off here. Not open for port 0, and not when it cannot be bound, which is reported on standard error.
Descriptor BindDiscovery(std::uint16_t port);

std::uint16_t PortOf(const Descriptor& socket);

/// The addresses at which a client reaches a socket that is bound to the address `written`, in their plain form:
/// itself, or for "0.0.0.0" and "::" the loopback address and those of the networks that this machine is on now. Raises
/// `ActivationError` for what is no address.
std::vector<std::string> AddressesOf(const std::string& written);

}  // namespace kestrane::alpaca
