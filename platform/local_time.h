#ifndef PLATFORM_LOCAL_TIME_H
#define PLATFORM_LOCAL_TIME_H

namespace SMTPClientNS {

struct LocalTime {
    int year;   ///< All four digits.
    int month;  ///< 1 to 12.
    int day;    ///< 1 to 31.
    int hour;
    int minute;
    int second;
};

/// The time now, in the user's time zone.
LocalTime GetLocalTime();

}  // namespace SMTPClientNS

#endif  // PLATFORM_LOCAL_TIME_H
