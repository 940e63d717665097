#include "Recording_reader.h"

#include "Byte_source.h"
#include "Pcapng.h"
#include "Pcapng_recording.h"
#include "Text_recording.h"

#include <QtEndian>

namespace {

bool is_pcapng(const Byte_source& source)
{
    return source.size() >= sizeof(quint32) &&
           qFromLittleEndian<quint32>(source.begin()) == Pcapng::section_block;
}

} // namespace

Recording_reader::Opened Recording_reader::open(const QString& path)
{
    auto source = std::make_unique<Byte_source>();
    const QString error = source->open(path);
    if (!error.isEmpty())
        return {nullptr, source->name() + QStringLiteral(": ") + error};
    if (is_pcapng(*source))
        return {std::make_unique<Pcapng_recording>(std::move(source)), {}};
    return {std::make_unique<Text_recording>(std::move(source)), {}};
}
