/* Dims the display and tells of the media that come and go: client BRIGHTNESS
 *
 * Typed by what gdbus-codegen makes of the interfaces:
 *
 *     gdbus-codegen --interface-prefix com.quorin.system. --c-namespace Dov \
 *         --generate-c-code dov-glib /usr/share/dbus-1/interfaces/com.quorin.system.*.xml
 *     cc -o client client.c dov-glib.c $(pkg-config --cflags --libs gio-unix-2.0)
 */
#include "dov-glib.h"

#include <stdlib.h>

#define SERVICE "com.quorin.system"
#define PREFIX "/com/quorin/system"

static void tell_of_medium(DovMedia* media, const char* path, gboolean connected, gpointer data)
{
    (void)media;
    (void)data;
    g_print("%s has %s\n", path, connected ? "come" : "gone");
}

static gboolean print_serial_number(GDBusConnection* bus, GError** error)
{
    DovVersion* version = dov_version_proxy_new_sync(bus, G_DBUS_PROXY_FLAGS_NONE, SERVICE,
                                                     PREFIX "/version/serial_number", NULL, error);
    char* number = NULL;
    if (version == NULL || !dov_version_call_get_sync(version, &number, NULL, error))
        return FALSE;
    g_print("terminal %s\n", g_strstrip(number));
    g_free(number);
    g_object_unref(version);
    return TRUE;
}

static gboolean dim(GDBusConnection* bus, double wanted, GError** error)
{
    DovDeviceDimmable* backlight = dov_device_dimmable_proxy_new_sync(
        bus, G_DBUS_PROXY_FLAGS_NONE, SERVICE, PREFIX "/device/display/backlight", NULL, error);
    double brightness = 0.0;
    if (backlight == NULL ||
        !dov_device_dimmable_call_set_brightness_sync(backlight, wanted, NULL, error) ||
        !dov_device_dimmable_call_get_brightness_sync(backlight, &brightness, NULL, error))
        return FALSE;
    g_print("brightness %g\n", brightness);
    g_object_unref(backlight);
    return TRUE;
}

int main(int argc, char** argv)
{
    GError* error = NULL;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, NULL, &error);
    if (bus == NULL || !print_serial_number(bus, &error) ||
        !dim(bus, argc > 1 ? strtod(argv[1], NULL) : 0.0, &error)) {
        g_printerr("%s\n", error->message);
        return EXIT_FAILURE;
    }
    DovMedia* media = dov_media_proxy_new_sync(bus, G_DBUS_PROXY_FLAGS_NONE, SERVICE,
                                               PREFIX "/media", NULL, &error);
    if (media == NULL) {
        g_printerr("%s\n", error->message);
        return EXIT_FAILURE;
    }
    g_signal_connect(media, "connection", G_CALLBACK(tell_of_medium), NULL);
    g_print("watching the media\n");
    g_main_loop_run(g_main_loop_new(NULL, FALSE));
    return EXIT_SUCCESS;
}
