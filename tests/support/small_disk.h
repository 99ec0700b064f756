#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace kestrane {

/// A file system of 4 MB of its own, mounted over a folder as long as the object lives, that a test can fill or make
/// read-only. Only this process and its children see it. Mounting needs the rights of root: `Mounted` is false where
/// it is not permitted, and a test then skips with the words of `WhyNot`.
class SmallDisk {
public:
    explicit SmallDisk(std::filesystem::path folder);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool Mounted() const { return whyNot_.empty(); }
    const std::string& WhyNot() const { return whyNot_; }

    /// Writes a file until not one byte more fits.
    void Fill() const;
    /// Removes that file.
    void MakeRoom() const;
    /// Cuts so many bytes off that file.
    void MakeRoom(std::uintmax_t bytes) const;
    /// No file may be open for writing.
    void ReadOnly(bool readOnly) const;

private:
    std::filesystem::path folder_;
    std::string whyNot_;
};

}  // namespace kestrane
