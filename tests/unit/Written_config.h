#pragma once

#include "OEM_profile.h"
#include "Power_config.h"
#include "Test_root.h"

/// A configuration file of a test.
class Written_config {
public:
    QByteArray path() const { return root.path(file_).toUtf8(); }

    void write(const QByteArray& content) { root.write(file_, content); }

    /// What a power configuration with this content is loaded as; null when it is refused.
    std::unique_ptr<QDomDocument> power(const QByteArray& content)
    {
        return loaded(load_power_config, content);
    }

    /// The same of an OEM profile.
    std::unique_ptr<QDomDocument> profile(const QByteArray& content)
    {
        return loaded(load_oem_profile, content);
    }

    Test_root root;

private:
    template <class Load>
    std::unique_ptr<QDomDocument> loaded(Load load, const QByteArray& content)
    {
        write(content);
        std::unique_ptr<QDomDocument> document;
        if (load(document, path().constData()) != config_loaded)
            return nullptr;
        return document;
    }

    const QString file_ = QStringLiteral("etc/config.xml");
};
