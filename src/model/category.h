#pragma once

#include <QHashFunctions>
#include <QString>

// Where a decision or a plan item files an item. The model and import files may name a
// category nobody here knows: its text is kept as read, so that a plan written back is
// unchanged, and the person decides about such an item as about any other needs-you item.
class Category
{
public:
    enum Kind : quint8 {
        project,
        creator,
        personal,
        admin,
        library,
        archive,
        junk,
        duplicate, // only the rules find duplicates
        needsYou,
        user, // a folder the person chose
        unknown,
    };

    // A case without a text of its own; a project is made by `forProject`.
    Category(Kind kind = unknown);
    static Category forProject(const QString& name);
    // Exact texts only: "Library" or " junk" are not known.
    static Category fromText(const QString& text);

    QString text() const;
    Kind kind() const;
    // The name after "project:", as the decision or the person wrote it; empty for the others.
    QString projectName() const;

    // Junk and duplicates are set aside for the person to empty; they never count as organised.
    bool isSetAside() const;
    // Needs-you, or a category nobody here knows.
    bool isUndecided() const;

    bool operator==(const Category&) const = default;

private:
    Category(Kind kind, const QString& text);

    Kind m_kind;
    QString m_text; // the project's name, or the unknown text as read
};

size_t qHash(const Category& category, size_t seed = 0);
