// DVOutcome: what a completion carried, and how often it was called.
#pragma once

#include <Dorvane/DVError.h>

#include <QTest>

#include <memory>
#include <optional>

constexpr int generousMs = 20000;

// For completions with an error and at most one result; copies share. A completion may outlive it.
template<typename Result = QJsonValue> class DVOutcome
{
public:
    struct Carried
    {
        int calls = 0;
        DVErrorOr error;
        Result result{};

        QString domain() const { return error ? error->domain : QString(); }
        int code() const { return error ? error->code : 0; }
        QString description() const { return error ? error->description : QString(); }
    };

    Carried *operator->() const { return m_carried.get(); }

    auto take() const
    {
        return [carried = m_carried](const DVErrorOr &error, const auto &...result) {
            ++carried->calls;
            carried->error = error;
            ((carried->result = result), ...);
        };
    }

private:
    std::shared_ptr<Carried> m_carried = std::make_shared<Carried>();
};

#define QTRY_COMPLETED(outcome) QTRY_COMPARE_WITH_TIMEOUT((outcome)->calls, 1, generousMs)
