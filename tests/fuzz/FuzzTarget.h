// What the fuzz targets share: bytes to take values from, and the check whose failure is a finding.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <algorithm>

// Says which check did not hold, and of which input where that has a name, and aborts: a fuzzer keeps the
// input, a test fails.
[[noreturn]] void fuzzCheckFailed(const char *condition, const char *file, int line);

#define FUZZ_CHECK(...)                                                                                      \
    do {                                                                                                     \
        if (!(__VA_ARGS__))                                                                                  \
            fuzzCheckFailed(#__VA_ARGS__, __FILE__, __LINE__);                                               \
    } while (false)

// The file that is being replayed, for that message.
void fuzzSetInputName(const QByteArray &name);

// Each target is a function of this form, fuzz_NAME in fuzz_NAME.cpp. It gets any bytes, and whatever it
// changes outside itself it changes to the same from the same bytes.
using FuzzFunction = void (*)(QByteArrayView input);

// Before the first input: an application object, the library's folder in a temporary one, and no log.
void fuzzPrepareProcess();

// Takes values off the front of an input; behind its end everything is 0 or empty.
class FuzzInput
{
public:
    explicit FuzzInput(QByteArrayView bytes)
        : m_rest(bytes)
    {}

    bool isEmpty() const { return m_rest.isEmpty(); }
    QByteArrayView rest() const { return m_rest; }

    QByteArrayView take(qsizetype length)
    {
        const auto taken = m_rest.first(std::min(length, m_rest.size()));
        m_rest = m_rest.sliced(taken.size());
        return taken;
    }
    quint8 byte()
    {
        const auto taken = take(1);
        return taken.isEmpty() ? quint8(0) : quint8(taken.front());
    }
    // Big endian.
    quint64 number(int bytes)
    {
        quint64 value = 0;
        for (int i = 0; i < bytes; ++i)
            value = value << 8 | byte();
        return value;
    }
    // Up to the next line feed, which goes too.
    QByteArrayView line()
    {
        const auto end = std::find(m_rest.begin(), m_rest.end(), '\n');
        const auto taken = take(end - m_rest.begin());
        take(1);
        return taken;
    }

private:
    QByteArrayView m_rest;
};
