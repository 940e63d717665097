#pragma once

#include <QByteArray>
#include <QString>

/// What a recording is written into: a file that may be begun anew when it has its size, standard
/// output, or a descriptor.
///
/// A file always ends with a whole block: what could not be written whole is taken back.
class Recording_file {
public:
    /// When a file has its size, PATH becomes PATH.1, PATH.1 becomes PATH.2, and so on.
    struct Rotation {
        quint64 most_bytes = 0; ///< of one file; 0: no limit
        int files = 1;          ///< with the present one; what is older is removed
    };

    Recording_file() = default;
    ~Recording_file();
    Recording_file(const Recording_file&) = delete;
    Recording_file& operator=(const Recording_file&) = delete;

    /// Begins the file; "-" is standard output. With rotation what was there is kept as PATH.1,
    /// without it is overwritten. Returns an error's text, or nothing.
    QString open(const QString& path, const Rotation& rotation);

    /// Takes a descriptor, and closes it at the end.
    void take(int descriptor, const QString& name);

    /// Whether so many bytes more would be too many for this file.
    bool is_full_for(qsizetype size) const;

    /// Begins the next file. Returns an error's text, or nothing.
    QString rotate();

    /// Writes all or nothing. Returns an error's text, or nothing.
    QString append(const QByteArray& blocks);

    /// Whether nothing has been written into the present file.
    bool is_empty() const { return size_ == 0; }

    /// Whether what has failed once cannot be written later: there is nobody any more who reads.
    bool has_lost_reader() const { return has_lost_reader_; }

private:
    QString begin();
    void move_older() const;
    QString failure(int error) const;

    QString path_;
    Rotation rotation_;
    int descriptor_ = -1;
    bool is_file_ = false;
    bool has_lost_reader_ = false;
    quint64 size_ = 0;
};
