#include "Text_first.h"

#include "Console.h"

#include <QDBusAbstractAdaptor>
#include <QMetaMethod>

void Text_first::listen_to(QDBusAbstractAdaptor* adaptor)
{
    const QMetaMethod slot = metaObject()->method(metaObject()->indexOfMethod("flush()"));
    const QMetaObject* meta = adaptor->metaObject();
    for (int i = QDBusAbstractAdaptor::staticMetaObject.methodCount(); i < meta->methodCount();
         ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Signal)
            connect(adaptor, meta->method(i), this, slot);
    }
}

void Text_first::leave(QDBusAbstractAdaptor* adaptor)
{
    disconnect(adaptor, nullptr, this, nullptr);
}

void Text_first::flush()
{
    Console::flush();
}
