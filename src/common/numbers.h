#pragma once

#include <QString>
#include <QtGlobal>

// How every window and the terminal write a figure: counts with the person's digit grouping
// ("25,000"), sizes in decimal units like a file manager ("1.2 GB"), and dollars.
namespace Numbers {

QString count(qint64 value);
QString size(qint64 bytes);

// What an amount of exactly nothing reads as. The windows show every amount under a cent,
// nothing included, as "<$0.01"; the terminal writes nothing spent as "$0.00".
enum class Nothing {
    underACent,
    zeroDollars,
};

// "<$0.01" below a cent, else dollars with two decimals.
QString money(double usd, Nothing nothing = Nothing::underACent);

} // namespace Numbers
