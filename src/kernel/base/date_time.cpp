#include "kernel/base/date_time.h"

#include <chrono>

namespace kestrane {
namespace {

using namespace std::chrono;

sys_time<milliseconds> ToPoint(const DateTime& date) {
    const year_month_day day{year{date.year}, month{static_cast<unsigned>(date.month)},
                             std::chrono::day{static_cast<unsigned>(date.day)}};
    return sys_days{day} + hours{date.hour} + minutes{date.minute} + seconds{date.second} +
           milliseconds{date.millisecond};
}

}  // namespace

DateTime AddMilliseconds(const DateTime& date, std::int64_t count) {
    const sys_time<milliseconds> point = ToPoint(date) + milliseconds{count};
    const sys_days midnight = floor<days>(point);
    const year_month_day day{midnight};
    const hh_mm_ss time{point - midnight};
    return DateTime{.year = static_cast<int>(day.year()),
                    .month = static_cast<int>(static_cast<unsigned>(day.month())),
                    .day = static_cast<int>(static_cast<unsigned>(day.day())),
                    .hour = static_cast<int>(time.hours().count()),
                    .minute = static_cast<int>(time.minutes().count()),
                    .second = static_cast<int>(time.seconds().count()),
                    .millisecond = static_cast<int>(time.subseconds().count())};
}

std::int64_t SecondsSince1970(const DateTime& date) {
    return floor<seconds>(ToPoint(date)).time_since_epoch().count();
}

std::string TwoDigits(int value) {
    return (value < 10 ? "0" : "") + std::to_string(value);
}

std::string DateTimeText(const DateTime& date) {
    return std::to_string(date.year) + "-" + TwoDigits(date.month) + "-" + TwoDigits(date.day) + " " +
           TwoDigits(date.hour) + ":" + TwoDigits(date.minute) + ":" + TwoDigits(date.second);
}

}  // namespace kestrane
