#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// One of the repository's Markdown documents, as far as a test has to understand it.
class Document {
public:
    /// A heading and what follows it up to the next one of the same level or above.
    struct Section {
        int level;
        QString title;
        QStringList lines;

        /// The cells of each table row, headings and rulers left out.
        QVector<QStringList> rows() const;

        /// The lines of each code block in a language.
        QVector<QStringList> blocks(const QString& language) const;
    };

    /// Reads it; `path` is relative to the repository.
    explicit Document(const QString& path);

    const QString& path() const { return path_; }
    const QStringList& lines() const { return lines_; }
    const QVector<Section>& sections() const { return sections_; }

    /// The section with this title; an empty one when there is none.
    Section section(const QString& title) const;

    /// The lines outside code blocks.
    QStringList prose() const;

    /// What a link to a heading of it may say after "#".
    QStringList anchors() const;

private:
    QString path_;
    QStringList lines_;
    QVector<Section> sections_;
};

/// The path of a file of the repository.
QString source_path(const QString& relative);

/// The text without the marks of inline code.
QString plain(QString cell);
