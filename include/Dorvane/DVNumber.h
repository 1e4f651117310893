// DVNumber: a number that offers an integer and a single-precision value.
#pragma once

#include <QtGlobal>

#include <concepts>
#include <limits>

// A value, made from any arithmetic type. Values out of a range saturate; not-a-number reads as 0.
class DVNumber
{
public:
    template<std::integral Integer>
    constexpr DVNumber(Integer value)
        : m_integer(saturated(value))
        , m_float(float(value))
    {}
    template<std::floating_point Real>
    constexpr DVNumber(Real value)
        : m_integer(truncated(double(value)))
        , m_float(inSinglePrecision(double(value)))
    {}

    // Truncated towards zero.
    constexpr qint64 integerValue() const { return m_integer; }
    constexpr float floatValue() const { return m_float; }

private:
    template<std::integral Integer> static constexpr qint64 saturated(Integer value)
    {
        if constexpr (std::unsigned_integral<Integer> && sizeof(Integer) >= sizeof(qint64))
            return value > quint64(std::numeric_limits<qint64>::max()) ? std::numeric_limits<qint64>::max()
                                                                       : qint64(value);
        else
            return qint64(value);
    }
    static constexpr bool isNumber(double value) { return value <= std::numeric_limits<double>::infinity(); }
    static constexpr float inSinglePrecision(double value)
    {
        using Float = std::numeric_limits<float>;
        if (!isNumber(value))
            return 0;
        if (value > double(Float::max()))
            return Float::infinity();
        if (value < double(Float::lowest()))
            return -Float::infinity();
        return float(value);
    }
    static constexpr qint64 truncated(double value)
    {
        if (!isNumber(value))
            return 0;
        if (value >= 9223372036854775807.0)
            return std::numeric_limits<qint64>::max();
        if (value <= -9223372036854775808.0)
            return std::numeric_limits<qint64>::min();
        return qint64(value);
    }

    qint64 m_integer;
    float m_float;
};
