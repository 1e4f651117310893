#include "DVSecretValues.h"

#include "DVSecrets.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace {

// Of a longer secret only the beginning is kept; what follows an occurrence goes with it.
constexpr qsizetype longestKept = 8192;
// An occurrence that is cut off counts from so many characters on.
constexpr qsizetype shortestPart = 16;

struct Secret
{
    QString text;
    bool isCut = false;
};
using Secrets = std::vector<Secret>;

// What searches use; never changed.
struct Known
{
    Secrets secrets;
    std::array<bool, 128> mayBegin{}; // by the first character; others always may

    explicit Known(const std::array<Secrets, 2> &byLifetime)
    {
        mayBegin['%'] = mayBegin['\\'] = true;
        for (const Secrets &some : byLifetime)
            secrets.insert(secrets.end(), some.begin(), some.end());
        for (const Secret &secret : secrets) {
            if (const char16_t first = secret.text[0].unicode(); first < mayBegin.size())
                mayBegin[first] = true;
        }
    }

    bool mayBeginWith(QChar character) const
    {
        return character.unicode() >= mayBegin.size() || mayBegin[character.unicode()];
    }
};

struct Registry
{
    std::atomic<bool> hasAny = false;
    std::mutex mutex;
    std::array<Secrets, 2> byLifetime;  // oldest first
    std::shared_ptr<const Known> known; // replaced whole, so that searches need no lock
};

Registry &registry()
{
    static auto *shared = new Registry; // never destroyed: threads may outlive static objects
    return *shared;
}

int hexValue(QChar digit)
{
    const char16_t unit = digit.unicode();
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const int letter = (unit | 0x20) - u'a';
    return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

// The number that `count` hexadecimal digits write, or -1.
int hexNumber(QStringView digits, qsizetype count)
{
    if (digits.size() < count)
        return -1;
    int number = 0;
    for (qsizetype i = 0; i < count; ++i) {
        const int value = hexValue(digits[i]);
        if (value < 0)
            return -1;
        number = number * 16 + value;
    }
    return number;
}

// How many characters of `text` write the character that `expected` begins with, percent-encoded (RFC 3986,
// 2.1; as UTF-8); 0 when they do not. `taken`: of `expected`.
qsizetype lengthOfPercents(QStringView text, QStringView expected, qsizetype *taken)
{
    const bool isPair = expected.size() > 1 && expected[0].isHighSurrogate();
    *taken = isPair ? 2 : 1;
    // Most are decided without a conversion.
    const int firstByte = hexNumber(text.sliced(1), 2);
    if (firstByte < 0 || expected[0].unicode() < 0x80)
        return firstByte == expected[0].unicode() ? 3 : 0;
    const QByteArray bytes = expected.left(*taken).toUtf8();
    qsizetype length = 0;
    for (const char byte : bytes) {
        const QStringView rest = text.sliced(length);
        if (rest.isEmpty() || rest[0] != u'%' || hexNumber(rest.sliced(1), 2) != int(uchar(byte)))
            return 0;
        length += 3;
    }
    return length;
}

// The same for an escape of JSON (RFC 8259, 7).
qsizetype lengthOfEscape(QStringView text, QChar expected)
{
    if (text.size() < 2)
        return 0;
    if (text[1] == u'u')
        return hexNumber(text.sliced(2), 4) == expected.unicode() ? 6 : 0;
    constexpr QStringView letters = u"bfnrt";
    constexpr QStringView characters = u"\b\f\n\r\t";
    const qsizetype letter = letters.indexOf(text[1]);
    return (letter < 0 ? text[1] : characters[letter]) == expected ? 2 : 0;
}

qsizetype lengthOfCharacter(QStringView text, QStringView expected, qsizetype *taken)
{
    *taken = 1;
    if (text[0] == u'%') {
        if (const qsizetype length = lengthOfPercents(text, expected, taken))
            return length;
        *taken = 1;
    }
    if (text[0] == u'\\') {
        if (const qsizetype length = lengthOfEscape(text, expected[0]))
            return length;
    }
    return text[0] == expected[0] ? 1 : 0;
}

bool continuesSecret(QChar character)
{
    return character.isLetterOrNumber() || QStringView(u"-._~+/=%").contains(character);
}

// How many characters the secret takes at the beginning of `text`; 0 when it does not stand there.
qsizetype lengthOfSecret(QStringView text, const Secret &secret)
{
    qsizetype length = 0;
    qsizetype matched = 0;
    while (matched < secret.text.size() && length < text.size()) {
        qsizetype taken = 0;
        const qsizetype step =
            lengthOfCharacter(text.sliced(length), QStringView(secret.text).sliced(matched), &taken);
        if (step == 0)
            break;
        length += step;
        matched += taken;
    }
    if (matched < secret.text.size())
        return matched >= shortestPart ? length : 0;
    while (secret.isCut && length < text.size() && continuesSecret(text[length]))
        ++length;
    return length;
}

qsizetype longestSecret(QStringView text, const Secrets &secrets)
{
    qsizetype longest = 0;
    for (const Secret &secret : secrets) {
        const QChar first = text[0];
        if (first == secret.text[0] || first == u'%' || first == u'\\')
            longest = qMax(longest, lengthOfSecret(text, secret));
    }
    return longest;
}

QString withoutSecrets(const QString &text, const Known &known)
{
    QString clean;
    qsizetype copied = 0;
    for (qsizetype position = 0; position < text.size(); ++position) {
        if (!known.mayBeginWith(text[position]))
            continue;
        const qsizetype length = longestSecret(QStringView(text).sliced(position), known.secrets);
        if (length == 0)
            continue;
        clean += QStringView(text).sliced(copied, position - copied);
        clean += DVSecrets::redacted;
        copied = position + length;
        position = copied - 1;
    }
    return copied == 0 ? text : clean + QStringView(text).sliced(copied);
}

} // namespace

QString DVSecretValues::removedFrom(const QString &text)
{
    Registry &all = registry();
    if (!all.hasAny.load(std::memory_order_relaxed))
        return text;
    std::shared_ptr<const Known> known;
    {
        const std::lock_guard lock(all.mutex);
        known = all.known;
    }
    return known ? withoutSecrets(text, *known) : text;
}

void DVSecrets::remember(const QString &secret, Lifetime lifetime)
{
    if (secret.size() < shortestSecret)
        return;
    const Secret kept{secret.left(longestKept), secret.size() > longestKept};
    Registry &all = registry();
    const std::lock_guard lock(all.mutex);
    Secrets &secrets = all.byLifetime[size_t(lifetime)];
    std::erase_if(secrets, [&](const Secret &other) { return other.text == kept.text; });
    if (secrets.size() >= size_t(maximumRemembered))
        secrets.erase(secrets.begin());
    secrets.push_back(kept);
    all.known = std::make_shared<const Known>(all.byLifetime);
    all.hasAny.store(true, std::memory_order_relaxed);
}

void DVSecrets::forgetAll()
{
    Registry &all = registry();
    const std::lock_guard lock(all.mutex);
    all.byLifetime = {};
    all.known.reset();
    all.hasAny.store(false, std::memory_order_relaxed);
}
