#include "Catalogue.h"

#include "DeliveredFile.h"
#include "MarkedText.h"
#include "PlaceholderElements.h"
#include "PluralNeeds.h"

#include <DVUtf8.h>
#include <DVXliffReader.h>

#include <QDir>
#include <QSet>

namespace {

const QString noPlural = QStringLiteral("none");

QString categoryOf(const DVXliffUnit &unit)
{
    const QString form = dv_stringFromUtf8(unit.pluralForm);
    return pluralCategories().contains(form) ? form : noPlural;
}

// Texts of a string that nobody has translated, in the forms that the locale takes.
FormTexts emptyForms(const CatalogueString &string, const QString &locale)
{
    FormTexts forms;
    if (!string.isPlural())
        return {{noPlural, QStringLiteral("")}};
    const PluralNeeds needs = PluralNeeds::ofLocale(locale);
    for (int i = 0; i < int(DVPluralCategory::None); ++i) {
        const auto category = DVPluralCategory(i);
        if (needs.form(category).numbers > 0 || category == DVPluralCategory::Other)
            forms.insert(dv_pluralCategoryName(category), QStringLiteral(""));
    }
    return forms;
}

} // namespace

const QStringList &pluralCategories()
{
    static const QStringList categories = [] {
        QStringList names;
        for (int i = 0; i < int(DVPluralCategory::None); ++i)
            names.append(dv_pluralCategoryName(DVPluralCategory(i)));
        return names;
    }();
    return categories;
}

QString CatalogueString::sourceOf(const QString &category) const
{
    const auto own = sources.constFind(category);
    if (own != sources.constEnd() && !own->isEmpty())
        return *own;
    return sources.value(QStringLiteral("other"), sources.isEmpty() ? QString() : sources.first());
}

std::optional<Catalogue> Catalogue::of(const QByteArray &document, QString *error)
{
    *error = xliffProblem(document);
    if (!error->isEmpty())
        return {};
    Catalogue catalogue;
    int added = 0;
    DVXliffReader::read(withPlaceholderElements(document, &added), true, [&](const DVXliffUnit &unit) {
        const QString id = dv_stringFromUtf8(unit.uid);
        const QString category = categoryOf(unit);
        CatalogueString &string = catalogue.stringOf(id.section(u'[', 0, 0), dv_stringFromUtf8(unit.key));
        string.sources.insert(category, markedText(unit.source));
        string.targets.insert(category, markedText(unit.target));
        if (const QString note = dv_stringFromUtf8(unit.note).trimmed(); !note.isEmpty())
            string.note = note;
    });
    return catalogue;
}

CatalogueString &Catalogue::stringOf(const QString &hashcode, const QString &key)
{
    const std::pair name(hashcode, key);
    const auto place = m_places.constFind(name);
    if (place != m_places.constEnd())
        return m_strings[*place];
    m_places.insert(name, m_strings.size());
    if (!hashcode.isEmpty() && !m_firstOfHashcode.contains(hashcode))
        m_firstOfHashcode.insert(hashcode, m_strings.size());
    return m_strings.emplaceBack(CatalogueString{hashcode, key, {}, {}, {}});
}

const CatalogueString *Catalogue::find(const QString &hashcode) const
{
    const auto place = m_firstOfHashcode.constFind(hashcode);
    return place == m_firstOfHashcode.constEnd() ? nullptr : &m_strings.at(*place);
}

void Catalogue::addMissing(const Catalogue &source, const QString &locale)
{
    QSet<QString> keys;
    for (const CatalogueString &string : m_strings)
        keys.insert(string.key);
    for (const CatalogueString &string : source.m_strings) {
        if (m_firstOfHashcode.contains(string.hashcode) || keys.contains(string.key))
            continue;
        CatalogueString &added = stringOf(string.hashcode, string.key);
        added.note = string.note;
        added.sources = string.sources;
        added.targets = emptyForms(string, locale);
    }
}

Catalogues::Catalogues(const QString &folder, Log log)
    : m_folder(folder)
    , m_log(std::move(log))
{}

const Catalogues::File &Catalogues::file(const QString &locale)
{
    const QString path = QDir(m_folder).absoluteFilePath(locale + QStringLiteral(".xlf"));
    File &file = m_files[locale];
    const auto stamp = FileStamp::of(path);
    if (stamp == file.stamp)
        return file;
    file.stamp = stamp;
    if (!stamp) {
        file.catalogue = Catalogue();
        return file;
    }
    QString error;
    const QByteArray document = readWholeFile(path, &error);
    const auto catalogue = error.isEmpty() ? Catalogue::of(document, &error) : std::nullopt;
    if (catalogue)
        file.catalogue = *catalogue;
    else
        m_log(QStringLiteral("%1 cannot be read: %2").arg(path, error));
    return file;
}

const Catalogue &Catalogues::ofLocale(const QString &locale, const Project &project)
{
    const auto sourceStamp = file(project.sourceLocale).stamp;
    const File &own = file(locale);
    Entry &entry = m_entries[locale];
    if (!entry.isMade || entry.stamp != own.stamp || entry.sourceStamp != sourceStamp) {
        entry = {own.stamp, sourceStamp, true, own.catalogue};
        entry.catalogue.addMissing(m_files[project.sourceLocale].catalogue, locale);
    }
    return entry.catalogue;
}
