/* The practical limit of the design, in plain C: the controller's frames, their texts, change
 * rules and signals, the queue and the poll, on sd-bus and epoll, with one reading and one
 * writing thread on the line. Measures the daemon against; switches nothing off. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <math.h>
#include <pthread.h>
#include <signal.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <systemd/sd-bus.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

enum {
    frame_size = 13,
    payload_size = 8,
    backlog = 1 << 20,
    text_size = 1 << 15,
    queue_size = 1 << 16
};

#define PREFIX "/com/quorin/system/"
#define INTERFACE "com.quorin.system.device."

/* ---- texts: one write for what one block brought ---- */

struct text {
    int fd;
    size_t size;
    char bytes[text_size];
};

static struct text out = {.fd = 1};
static struct text err = {.fd = 2};

static void text_flush(struct text* t)
{
    size_t done = 0;
    while (done < t->size) {
        const ssize_t count = write(t->fd, t->bytes + done, t->size - done);
        if (count <= 0)
            break;
        done += (size_t)count;
    }
    t->size = 0;
}

static void put(struct text* t, const char* bytes, size_t size)
{
    if (t->size + size > text_size)
        text_flush(t);
    memcpy(t->bytes + t->size, bytes, size);
    t->size += size;
}

static void say(struct text* t, const char* text)
{
    put(t, text, strlen(text));
}

static void say_bytes(struct text* t, const char* label, char pad, const uint8_t* data, size_t size)
{
    static const char digits[] = "0123456789abcdef";
    say(t, label);
    for (size_t i = 0; i < size; ++i) {
        const char high = data[i] < 16 ? pad : digits[data[i] >> 4];
        const char spelled[3] = {high, digits[data[i] & 15], ' '};
        put(t, spelled, sizeof spelled);
    }
    say(t, "\n");
}

/* ---- the line ---- */

static int line = -1;
static int news = -1; /* eventfd: bytes have arrived */
static pthread_mutex_t read_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t taken = PTHREAD_COND_INITIALIZER;
static uint8_t received[backlog];
static size_t received_size;
static bool announced;

static pthread_mutex_t write_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t to_write = PTHREAD_COND_INITIALIZER;
static uint8_t outgoing[queue_size * frame_size];
static size_t outgoing_first, outgoing_count;

static void* read_line(void* unused)
{
    (void)unused;
    uint8_t bytes[255];
    for (;;) {
        const ssize_t count = read(line, bytes, sizeof bytes);
        if (count <= 0)
            return NULL;
        pthread_mutex_lock(&read_lock);
        while (received_size + (size_t)count > backlog)
            pthread_cond_wait(&taken, &read_lock);
        memcpy(received + received_size, bytes, (size_t)count);
        received_size += (size_t)count;
        const bool announce = !announced;
        announced = true;
        pthread_mutex_unlock(&read_lock);
        if (announce)
            eventfd_write(news, 1);
    }
}

static void* write_line(void* unused)
{
    (void)unused;
    for (;;) {
        uint8_t frame[frame_size];
        pthread_mutex_lock(&write_lock);
        while (outgoing_count == 0)
            pthread_cond_wait(&to_write, &write_lock);
        memcpy(frame, outgoing + outgoing_first * frame_size, frame_size);
        outgoing_first = (outgoing_first + 1) % queue_size;
        --outgoing_count;
        pthread_mutex_unlock(&write_lock);
        if (write(line, frame, frame_size) < 0)
            return NULL;
    }
}

static uint8_t checksum(const uint8_t* payload)
{
    uint8_t sum = 0xD8;
    for (int i = 0; i < payload_size; ++i)
        sum = (uint8_t)(sum + payload[i]);
    return sum;
}

static void transmit(const uint8_t* payload)
{
    pthread_mutex_lock(&write_lock);
    if (outgoing_count < queue_size) {
        const size_t at = (outgoing_first + outgoing_count) % queue_size;
        uint8_t* frame = outgoing + at * frame_size;
        memcpy(frame, "\x18\xef\x78\x59", 4);
        memcpy(frame + 4, payload, payload_size);
        frame[12] = checksum(payload);
        ++outgoing_count;
        pthread_cond_signal(&to_write);
    }
    pthread_mutex_unlock(&write_lock);
}

/* ---- the queue: one request at a time, answered or given up after 300 ms ---- */

static uint8_t queue[queue_size][payload_size];
static size_t queue_first, queue_count;
static int response_timer = -1;

static void set_timer(int timer, long ms, long again_ms)
{
    const struct itimerspec at = {{again_ms / 1000, again_ms % 1000 * 1000000},
                                  {ms / 1000, ms % 1000 * 1000000}};
    timerfd_settime(timer, 0, &at, NULL);
}

static void start_request(void)
{
    transmit(queue[queue_first]);
    set_timer(response_timer, 300, 0);
}

static void next_request(void)
{
    if (queue_count == 0)
        return;
    queue_first = (queue_first + 1) % queue_size;
    if (--queue_count > 0)
        start_request();
}

static void send_command(uint8_t id, uint8_t b1, uint8_t b2, const char* label)
{
    const uint8_t payload[payload_size] = {id, b1, b2};
    if (queue_count < queue_size) {
        memcpy(queue[(queue_first + queue_count) % queue_size], payload, payload_size);
        if (++queue_count == 1)
            start_request();
    }
    if (label != NULL)
        say_bytes(&out, label, '0', payload, payload_size);
}

/* ---- objects ---- */

struct number {
    const char *path, *interface;
    double value, reported, hysteresis, min, max;
    bool has_limits, below, above;
    double spelled; /* what the text spells */
    char text[32];
    size_t text_size;
};

#define NUMBER(kind, i)                                                                            \
    {                                                                                              \
        PREFIX "device/io/input/" kind "/" #i, INTERFACE "io.input." kind, -1e6, -1e6, 1e6, -1e6,  \
            1e6, true, false, false, NAN, "", 0                                                    \
    }

static struct number analog = NUMBER("analog", 0);
static struct number light = NUMBER("ambientlight", 0);
static struct number frequency = {PREFIX "device/io/input/frequency/0",
                                  INTERFACE "io.input.frequency",
                                  -1e6,
                                  -1e6,
                                  1e6,
                                  -1e6,
                                  1e6,
                                  false,
                                  false,
                                  false,
                                  NAN,
                                  "",
                                  0};
static struct number voltages[6] = {NUMBER("voltage", 0), NUMBER("voltage", 1),
                                    NUMBER("voltage", 2), NUMBER("voltage", 3),
                                    NUMBER("voltage", 4), NUMBER("voltage", 5)};
static struct number temperatures[6] = {NUMBER("temperature", 0), NUMBER("temperature", 1),
                                        NUMBER("temperature", 2), NUMBER("temperature", 3),
                                        NUMBER("temperature", 4), NUMBER("temperature", 5)};

struct output {
    unsigned channel;
    bool value, enabled;
};

static bool inputs[4];
static struct output outputs[4] = {
    {0, false, true}, {1, false, true}, {2, false, true}, {3, false, true}};
static double brightness = 100.0;
static sd_bus* bus;

static const char* const input_paths[4] = {
    PREFIX "device/io/input/digital/0", PREFIX "device/io/input/digital/1",
    PREFIX "device/io/input/digital/2", PREFIX "device/io/input/digital/3"};

static void say_number(struct number* n)
{
    if (n->spelled != n->value) {
        n->text_size = (size_t)snprintf(n->text, sizeof n->text, "%g", n->value);
        n->spelled = n->value;
    }
    put(&err, n->text, n->text_size);
}

static void check_limits(struct number* n)
{
    if (n->min > n->value) {
        if (!n->below)
            sd_bus_emit_signal(bus, n->path, n->interface, "min_pass", "d", n->value);
        say(&err, n->below ? " min=0" : " min=1");
        n->below = true;
    } else if (n->value > n->min + n->hysteresis) {
        n->below = false;
    }
    if (n->value > n->max) {
        if (!n->above)
            sd_bus_emit_signal(bus, n->path, n->interface, "max_pass", "d", n->value);
        say(&err, n->above ? " max=0" : " max=1");
        n->above = true;
    } else if (n->max - n->hysteresis > n->value) {
        n->above = false;
    }
}

static void update(struct number* n, double value)
{
    n->value = value;
    say(&err, "Updated val=");
    say_number(n);
    if (n->has_limits)
        check_limits(n);
    if (fabs(n->reported - value) > n->hysteresis) {
        say(&err, " Changed\n");
        sd_bus_emit_signal(bus, n->path, n->interface, "val_changed", "db", value, 0);
        n->reported = value;
    } else {
        say(&err, " !Changed\n");
    }
}

static double big_endian(const uint8_t* bytes)
{
    return bytes[0] << 8 | bytes[1];
}

static double percent(double volts)
{
    return fmin(100.0, volts * 100 / 4.995);
}

static void update_digital(const uint8_t* data)
{
    char text[48];
    for (int i = 0; i < 4; ++i) {
        const bool on = data[1] >> i & 1;
        if (on != inputs[i]) {
            put(&err, text, (size_t)snprintf(text, sizeof text, "Changed id=%c len=8\n", data[0]));
            inputs[i] = on;
            sd_bus_emit_signal(bus, input_paths[i], INTERFACE "io.input.digital", "changed", "b",
                               on);
        } else if (data[0] == 0x10) {
            put(&err, text,
                (size_t)snprintf(text, sizeof text, "UnChanged id=%c dio=%d val=%d\n", data[0], i,
                                 on));
        }
    }
}

static void handle_outputs(const uint8_t* data)
{
    say(&out, "Got Dout\n");
    for (unsigned i = 0; i < 4; ++i) {
        const unsigned code = data[2] >> i * 2 & 3;
        if (code == 0)
            continue;
        outputs[i].enabled = code != 3;
        if (code != 3)
            outputs[i].value = code == 2;
    }
}

static void say_raw(const char* label, const uint8_t* data, double volts)
{
    char text[48];
    say(&out, label);
    for (int i = 0; i < payload_size; ++i)
        put(&out, text, (size_t)snprintf(text, sizeof text, "%02X", data[i]));
    put(&out, text, (size_t)snprintf(text, sizeof text, ": %.3f\n", volts));
}

static void handle_digest(const uint8_t* data)
{
    say_bytes(&out, "Got Digest: ", ' ', data, payload_size);
    update_digital(data);
    update(&light, percent(big_endian(data + 4) * 0.001));
    update(&analog, big_endian(data + 2) * 0.001);
    update(&frequency, big_endian(data + 6));
}

static void handle_values(const uint8_t* data)
{
    switch (data[0]) {
    case 0x1e:
        say_raw("ARAW: ", data, big_endian(data + 1) * 0.001);
        update(&analog, big_endian(data + 1) * 0.001);
        break;
    case 0x20:
        say_raw("LRAW: ", data, big_endian(data + 1) * 0.001);
        update(&light, percent(big_endian(data + 1) * 0.001));
        break;
    case 0x22:
    case 0x24:
        for (int i = 0; i < 3; ++i)
            update(&voltages[i + (data[0] == 0x24 ? 3 : 0)], big_endian(data + 1 + 2 * i) * 0.001);
        break;
    case 0x28:
        for (int i = 0; i < 6; ++i)
            update(&temperatures[i], (int8_t)data[1 + i]);
        break;
    default:
        say(&out, "Unhandled message default\n");
    }
}

static void handle_message(const uint8_t* data)
{
    static const char digits[] = "0123456789abcdef";
    char text[] = "Got message   \n";
    text[12] = data[0] < 16 ? ' ' : digits[data[0] >> 4];
    text[13] = digits[data[0] & 15];
    put(&out, text, sizeof text - 1);
    switch (data[0]) {
    case 0x06:
        say(&out, "Power Res\n");
        /* fall through */
    case 0x10:
        say_bytes(&out, "DINRAW: ", '0', data, payload_size);
        update_digital(data);
        break;
    case 0x36:
        handle_digest(data);
        break;
    case 0x32:
        brightness = data[1] * 0.3937007874015748;
        say(&out, "LCDGOT\n");
        break;
    case 0x34:
        handle_outputs(data);
        break;
    case 0x02:
    case 0x12:
    case 0x16:
    case 0x1a:
    case 0x1c:
        break;
    default:
        handle_values(data);
    }
    if (queue_count > 0 && queue[queue_first][0] == data[0] - 1)
        next_request();
}

/* Parses what is there in place; returns what is done with. */
static size_t parse(const uint8_t* bytes, size_t size)
{
    size_t at = 0;
    while (size - at >= 3) {
        const uint8_t* sync = memchr(bytes + at, 0x18, size - at - 2);
        if (sync == NULL)
            return size - 2;
        at = (size_t)(sync - bytes);
        if (sync[1] != 0xEF) {
            ++at;
            continue;
        }
        if (size - at < frame_size)
            return at;
        if (sync[2] != 0x59 || sync[3] != 0x78) {
            char text[64];
            put(&out, text,
                (size_t)snprintf(text, sizeof text, "Src/Dest test failed %2x:%2x %2x:%2x\n",
                                 (unsigned)(int8_t)sync[2], 0x59, (unsigned)(int8_t)sync[3], 0x78));
        }
        if (checksum(sync + 4) == sync[12]) {
            handle_message(sync + 4);
            at += frame_size;
        } else {
            say(&out, "Checksum failed");
            ++at;
        }
    }
    return at;
}

static void handle_received(void)
{
    static uint8_t block[backlog + frame_size];
    static size_t block_size;
    eventfd_t count;
    eventfd_read(news, &count);
    pthread_mutex_lock(&read_lock);
    memcpy(block + block_size, received, received_size);
    block_size += received_size;
    received_size = 0;
    announced = false;
    pthread_cond_signal(&taken);
    pthread_mutex_unlock(&read_lock);
    const size_t done = parse(block, block_size);
    memmove(block, block + done, block_size - done);
    block_size -= done;
}

/* ---- methods ---- */

static void set_output(struct output* o, bool value, bool enabled)
{
    const uint8_t code = !enabled ? 3 : value ? 2 : 1;
    const uint8_t field = (uint8_t)(code << o->channel * 2);
    send_command(0x33, field, field, "DOUTRAW: ");
    o->value = value;
    o->enabled = enabled;
}

static int output_set(sd_bus_message* m, void* object, sd_bus_error* error)
{
    int value, enabled;
    (void)error;
    const int read = sd_bus_message_read(m, "bb", &value, &enabled);
    if (read < 0)
        return read;
    set_output(object, value, enabled);
    return sd_bus_reply_method_return(m, "");
}

static int output_is_on(sd_bus_message* m, void* object, sd_bus_error* error)
{
    (void)error;
    return sd_bus_reply_method_return(m, "b", ((struct output*)object)->value);
}

static int input_is_on(sd_bus_message* m, void* object, sd_bus_error* error)
{
    (void)error;
    return sd_bus_reply_method_return(m, "b", *(bool*)object);
}

static int number_get(sd_bus_message* m, void* object, sd_bus_error* error)
{
    (void)error;
    return sd_bus_reply_method_return(m, "d", ((struct number*)object)->value);
}

static int number_set_hysteresis(sd_bus_message* m, void* object, sd_bus_error* error)
{
    (void)error;
    const int read = sd_bus_message_read(m, "d", &((struct number*)object)->hysteresis);
    return read < 0 ? read : sd_bus_reply_method_return(m, "");
}

static uint8_t level(double value)
{
    return value > 100.0 ? 0xFE : (uint8_t)(value * 254.0 / 100.0 + 0.5);
}

static int backlight_set(sd_bus_message* m, void* object, sd_bus_error* error)
{
    double value;
    (void)object, (void)error;
    const int read = sd_bus_message_read(m, "d", &value);
    if (read < 0)
        return read;
    brightness = fmax(value, 0.0);
    send_command(0x31, level(trunc(brightness)), level((brightness - trunc(brightness)) * 1000.0),
                 "LCDBRISET: ");
    return sd_bus_reply_method_return(m, "");
}

static int backlight_get(sd_bus_message* m, void* object, sd_bus_error* error)
{
    (void)object, (void)error;
    return sd_bus_reply_method_return(m, "d", brightness);
}

static const sd_bus_vtable input_table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("is_on", "", "b", input_is_on, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("changed", "b", 0), SD_BUS_VTABLE_END};
static const sd_bus_vtable output_table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("is_on", "", "b", output_is_on, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("set", "bb", "", output_set, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
static const sd_bus_vtable number_table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("get_value", "", "d", number_get, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("set_hysteresis", "d", "", number_set_hysteresis, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("val_changed", "db", 0),
    SD_BUS_SIGNAL("min_pass", "d", 0),
    SD_BUS_SIGNAL("max_pass", "d", 0),
    SD_BUS_VTABLE_END};
static const sd_bus_vtable backlight_table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("get_brightness", "", "d", backlight_get, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("set_brightness", "d", "", backlight_set, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};

static void publish_number(struct number* n)
{
    sd_bus_add_object_vtable(bus, NULL, n->path, n->interface, number_table, n);
}

static void publish(void)
{
    char path[64];
    for (int i = 0; i < 4; ++i) {
        sd_bus_add_object_vtable(bus, NULL, input_paths[i], INTERFACE "io.input.digital",
                                 input_table, &inputs[i]);
        snprintf(path, sizeof path, PREFIX "device/io/output/digital/%d", i);
        sd_bus_add_object_vtable(bus, NULL, path, INTERFACE "io.output.digital", output_table,
                                 &outputs[i]);
        set_output(&outputs[i], false, true);
    }
    publish_number(&analog);
    publish_number(&light);
    publish_number(&frequency);
    for (int i = 0; i < 6; ++i) {
        publish_number(&voltages[i]);
        publish_number(&temperatures[i]);
    }
    sd_bus_add_object_vtable(bus, NULL, PREFIX "device/display/backlight", INTERFACE "dimmable",
                             backlight_table, NULL);
    send_command(0x31, 0xFF, 0xFF, "LCDBRIGET: ");
}

static void poll_controller(void)
{
    static const uint8_t polls[] = {0x1b, 0x21, 0x23, 0x27, 0x19, 0x11, 0x15};
    say(&out, "Periodic\n");
    for (size_t i = 0; i < sizeof polls; ++i)
        send_command(polls[i], 0, 0, NULL);
}

/* ---- start and loop ---- */

static bool open_line(const char* path)
{
    struct termios settings;
    line = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (line < 0 || tcgetattr(line, &settings) < 0)
        return false;
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    tcsetattr(line, TCSANOW, &settings);
    pthread_t thread;
    return pthread_create(&thread, NULL, read_line, NULL) == 0 &&
           pthread_create(&thread, NULL, write_line, NULL) == 0;
}

static void watch(int epoll, int fd)
{
    struct epoll_event event = {.events = EPOLLIN, .data.fd = fd};
    epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
}

static void handle_event(int fd, int poll_timer)
{
    uint64_t count;
    if (fd == news) {
        handle_received();
    } else if (fd == poll_timer || fd == response_timer) {
        if (read(fd, &count, sizeof count) != sizeof count)
            return;
        if (fd == poll_timer)
            poll_controller();
        else
            next_request();
    }
}

static void run(int epoll, int poll_timer)
{
    const int bus_fd = sd_bus_get_fd(bus);
    for (;;) {
        while (sd_bus_process(bus, NULL) > 0) {
        }
        text_flush(&out);
        text_flush(&err);
        struct epoll_event bus_event = {.events = (uint32_t)sd_bus_get_events(bus),
                                        .data.fd = bus_fd};
        static uint32_t watched;
        if (bus_event.events != watched)
            epoll_ctl(epoll, watched == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, bus_fd, &bus_event);
        watched = bus_event.events;
        struct epoll_event events[4];
        const int count = epoll_wait(epoll, events, 4, -1);
        for (int i = 0; i < count; ++i)
            handle_event(events[i].data.fd, poll_timer);
    }
}

int main(int argc, char** argv)
{
    if (argc < 3 || strcmp(argv[1], "--port") != 0)
        return 2;
    signal(SIGPIPE, SIG_IGN);
    if (sd_bus_open_system(&bus) < 0 || sd_bus_request_name(bus, "com.quorin.system", 0) < 0)
        return 1;
    news = eventfd(0, EFD_CLOEXEC);
    response_timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const int poll_timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    if (!open_line(argv[2]))
        return 1;
    publish();
    watch(epoll, news);
    watch(epoll, response_timer);
    watch(epoll, poll_timer);
    set_timer(poll_timer, 3000, 3000);
    poll_controller();
    run(epoll, poll_timer);
}
