// SPDX-License-Identifier: MIT
#include "foundation/asn1/asn1_time.h"

#include <cstddef>

namespace vantrel::asn1 {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

bool isDigit(std::uint8_t c) noexcept { return c >= '0' && c <= '9'; }

// Takes `count` decimal digits off the front.
bool takeNumber(ByteView& rest, std::size_t count, int& value) noexcept {
    if (rest.size() < count) {
        return false;
    }
    value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (!isDigit(rest[i])) {
            return false;
        }
        value = value * 10 + (rest[i] - '0');
    }
    rest = rest.subspan(count);
    return true;
}

bool isLeapYear(int year) noexcept { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int daysInMonth(int year, int month) noexcept {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1970-01-01 in the proleptic Gregorian calendar. Years begin in March here, so that the
// leap day is the last of its year.
std::int64_t daysFromEpoch(int year, int month, int day) noexcept {
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t m = (month + 9) % 12;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * m + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

struct ClockTime {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

bool isValid(const ClockTime& t) noexcept {
    return t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= daysInMonth(t.year, t.month) &&
           t.hour <= 23 && t.minute <= 59 && t.second <= 59;
}

// "Z", "+hhmm", "-hhmm" or (only with `hoursAlone`) "+hh", and nothing after it.
bool takeZone(ByteView rest, bool hoursAlone, std::int64_t& offset) noexcept {
    if (rest.size() == 1 && rest[0] == 'Z') {
        offset = 0;
        return true;
    }
    if (rest.empty() || (rest[0] != '+' && rest[0] != '-')) {
        return false;
    }
    const bool east = rest[0] == '+';
    rest = rest.subspan(1);
    int hours = 0;
    int minutes = 0;
    if (!takeNumber(rest, 2, hours) ||
        (!(rest.empty() && hoursAlone) && !takeNumber(rest, 2, minutes)) || !rest.empty() ||
        hours > 23 || minutes > 59) {
        return false;
    }
    offset = (hours * 60 + minutes) * 60;
    offset = east ? offset : -offset;
    return true;
}

bool finish(const ClockTime& t, ByteView zone, bool hoursAlone, std::int64_t& seconds) noexcept {
    std::int64_t offset = 0;
    if (!isValid(t) || !takeZone(zone, hoursAlone, offset)) {
        return false;
    }
    const std::int64_t clock = (t.hour * 60 + t.minute) * 60 + t.second;
    seconds = daysFromEpoch(t.year, t.month, t.day) * kSecondsPerDay + clock - offset;
    return true;
}

void appendPadded(std::int64_t value, std::size_t width, std::string& out) {
    const std::string digits = std::to_string(value);
    if (digits.size() < width) {
        out.append(width - digits.size(), '0');
    }
    out += digits;
}

} // namespace

bool parseUtcTime(ByteView contents, std::int64_t& seconds) noexcept {
    ClockTime t;
    ByteView rest = contents;
    if (!takeNumber(rest, 2, t.year) || !takeNumber(rest, 2, t.month) ||
        !takeNumber(rest, 2, t.day) || !takeNumber(rest, 2, t.hour) ||
        !takeNumber(rest, 2, t.minute)) {
        return false;
    }
    t.year += t.year < 50 ? 2000 : 1900;
    if (!rest.empty() && isDigit(rest[0]) && !takeNumber(rest, 2, t.second)) {
        return false;
    }
    return finish(t, rest, false, seconds);
}

bool parseGeneralizedTime(ByteView contents, std::int64_t& seconds) noexcept {
    ClockTime t;
    ByteView rest = contents;
    if (!takeNumber(rest, 4, t.year) || !takeNumber(rest, 2, t.month) ||
        !takeNumber(rest, 2, t.day) || !takeNumber(rest, 2, t.hour)) {
        return false;
    }
    if (!rest.empty() && isDigit(rest[0]) && !takeNumber(rest, 2, t.minute)) {
        return false;
    }
    if (!rest.empty() && isDigit(rest[0]) && !takeNumber(rest, 2, t.second)) {
        return false;
    }
    if (!rest.empty() && (rest[0] == '.' || rest[0] == ',')) {
        rest = rest.subspan(1);
        if (rest.empty() || !isDigit(rest[0])) {
            return false;
        }
        while (!rest.empty() && isDigit(rest[0])) {
            rest = rest.subspan(1);
        }
    }
    return finish(t, rest, true, seconds);
}

bool readTime(DerReader& reader, std::int64_t& seconds) noexcept {
    DerReader ahead = reader;
    DerElement time;
    if (!ahead.readAny(time)) {
        return false;
    }
    const bool parsed = time.tag == Tag::UtcTime ? parseUtcTime(time.contents, seconds)
                                                 : time.tag == Tag::GeneralizedTime &&
                                                       parseGeneralizedTime(time.contents, seconds);
    if (parsed) {
        reader = ahead;
    }
    return parsed;
}

void appendIsoTime(std::int64_t seconds, std::string& out) {
    std::int64_t days = seconds / kSecondsPerDay;
    std::int64_t clock = seconds % kSecondsPerDay;
    if (clock < 0) {
        clock += kSecondsPerDay;
        --days;
    }
    // The inverse of daysFromEpoch.
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const std::int64_t dayOfEra = shifted - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t m = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = m < 10 ? m + 3 : m - 9;
    appendPadded(yearOfEra + era * 400 + (month <= 2 ? 1 : 0), 4, out);
    out.push_back('-');
    appendPadded(month, 2, out);
    out.push_back('-');
    appendPadded(dayOfYear - (153 * m + 2) / 5 + 1, 2, out);
    out.push_back('T');
    appendPadded(clock / 3600, 2, out);
    out.push_back(':');
    appendPadded(clock / 60 % 60, 2, out);
    out.push_back(':');
    appendPadded(clock % 60, 2, out);
    out.push_back('Z');
}

} // namespace vantrel::asn1
