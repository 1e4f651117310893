// MarkdownFigures: what a benchmark prints, as tables for a page of the documents.
#pragma once

#include <cstdio>
#include <fstream>
#include <string>

// Writes nothing until open() names a file, to which it appends.
class MarkdownFigures
{
public:
    void open(const std::string &path) { m_file.open(path, std::ios::app); }

    void title(const std::string &text) { say("\n### " + capitalised(text)); }
    void section(const std::string &text)
    {
        say("\n**" + capitalised(text) + "**");
        m_inTable = m_inList = false;
    }

    void row(const std::string &name, double median, double best, const char *unit, double ofFirst)
    {
        char figures[128];
        std::snprintf(figures, sizeof figures, " | %.*f %s | %.*f %s | %.2f |", digits(median), median, unit,
                      digits(best), best, unit, ofFirst);
        tableRow(name, figures);
    }
    void row(const std::string &name, double value, const char *unit)
    {
        char figures[128];
        std::snprintf(figures, sizeof figures, " | %.*f %s | | |", digits(value), value, unit);
        tableRow(name, figures);
    }

    void goal(const std::string &goal, bool met, double value)
    {
        char text[64];
        std::snprintf(text, sizeof text, " (%.*f)", digits(value), value);
        note(std::string(met ? "goal met: " : "**goal MISSED**: ") + goal + text);
    }
    void note(const std::string &text)
    {
        say((m_inList ? "- " : "\n- ") + text);
        m_inList = true;
        m_inTable = false;
    }

private:
    void tableRow(const std::string &name, const char *figures)
    {
        if (!m_inTable)
            say("\n| | median | best | of the first |\n|---|--:|--:|--:|");
        m_inTable = true;
        m_inList = false;
        say("| " + name + figures);
    }
    void say(const std::string &line)
    {
        if (m_file.is_open())
            m_file << line << std::endl;
    }
    // Three digits that count, however large the figure is.
    static int digits(double value) { return value >= 100 ? 0 : value >= 10 ? 1 : 2; }
    static std::string capitalised(std::string text)
    {
        if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
            text[0] = char(text[0] - 'a' + 'A');
        return text;
    }

    std::ofstream m_file;
    bool m_inTable = false;
    bool m_inList = false;
};
