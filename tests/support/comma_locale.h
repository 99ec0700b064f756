#pragma once

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace kestrane {

/// While it exists, the C library uses a locale with a decimal comma. The test fails when the build could not make one.
/// The test program must be one of `kestrane_comma_locale`.
class CommaLocale {
public:
    CommaLocale() : before_(std::setlocale(LC_ALL, nullptr)) {
        ::setenv("LOCPATH", KESTRANE_LOCALE_FOLDER, 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr) << "no comma locale; run: tools/setup test";
        EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    }
    ~CommaLocale() {
        std::setlocale(LC_ALL, before_.c_str());
        ::unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

private:
    std::string before_;
};

}  // namespace kestrane
