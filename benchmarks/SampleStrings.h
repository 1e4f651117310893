// Strings as an application of some size has them: keys by screen and purpose, sentences of the
// length of labels and messages, French beside English, an argument in every third.
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct SampleString
{
    std::string key;
    std::string source;
    std::string target;
    bool hasArgument = false; // "%1" in both texts
};

namespace SampleStrings {

inline std::string words(uint64_t &state, const std::array<const char *, 16> &choice, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        text += (i ? " " : "") + std::string(choice[state >> 60]);
    }
    return text;
}

// The same strings for the same number, each key once.
inline std::vector<SampleString> make(int count)
{
    static constexpr std::array<const char *, 16> english{
        "folder", "the",  "selected", "message", "account", "could", "not",      "be",
        "saved",  "with", "settings", "please",  "check",   "your",  "password", "again"};
    static constexpr std::array<const char *, 16> french{
        "dossier",    "le",   "sélectionné", "message",  "compte",   "n’a", "pas",          "être",
        "enregistré", "avec", "réglages",    "veuillez", "vérifier", "vos", "mot de passe", "à nouveau"};
    static constexpr std::array<const char *, 4> purposes{"title", "label", "button", "error"};
    std::vector<SampleString> strings;
    strings.reserve(size_t(count));
    uint64_t state = 42;
    for (int i = 0; i < count; ++i) {
        const int length = 2 + int(state >> 33) % 8;
        SampleString string;
        string.key =
            "screen" + std::to_string(i / 40) + "." + purposes[size_t(i) % 4] + ".item" + std::to_string(i);
        string.hasArgument = i % 3 == 0;
        string.source = words(state, english, length) + (string.hasArgument ? " %1" : "");
        string.target = words(state, french, length) + (string.hasArgument ? " %1" : "");
        strings.push_back(std::move(string));
    }
    return strings;
}

inline std::string withPlaceholders(std::string text)
{
    if (const size_t argument = text.find("%1"); argument != std::string::npos)
        text.replace(argument, 2, R"(<ph id="1" ctype="x-dorvane-placeholder">%1</ph>)");
    return text;
}

// As the platform delivers them.
inline QByteArray xliff(const std::vector<SampleString> &strings)
{
    std::string document =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
        "<file original=\"strings\" source-language=\"en\" target-language=\"fr\" datatype=\"plaintext\">\n"
        "<body>\n";
    int number = 1000000;
    for (const SampleString &string : strings) {
        document += "<trans-unit id=\"" + std::to_string(++number) + "\" resname=\"" + string.key +
                    "\" phase-name=\"published\">\n<source>" + withPlaceholders(string.source) +
                    "</source>\n<target>" + withPlaceholders(string.target) + "</target>\n</trans-unit>\n\n";
    }
    document += "</body>\n</file>\n</xliff>";
    return QByteArray::fromStdString(document);
}

} // namespace SampleStrings
