// Runs one program once on a pty, loads its line or its bus, and prints what that cost as JSON.
//
//     dov-load SCENARIO SIZE BUS-DAEMON-PID PROGRAM [ARGUMENT...]
//
// PROGRAM is started with "--port PTY" added; its standard output and error lead to drained
// pipes. DBUS_SYSTEM_BUS_ADDRESS names the private bus of both.

#include "Exchange.h"
#include "Frame.h"
#include "Message_id.h"
#include "Named_field.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <termios.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

constexpr const char* service = "com.quorin.system";
constexpr const char* output_path = "/com/quorin/system/device/io/output/digital/0";
constexpr const char* output_interface = "com.quorin.system.device.io.output.digital";
constexpr double deadline_s = 120;

double seconds_since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void append_frame(Bytes& bytes, const Message& message)
{
    bytes.resize(bytes.size() + Frame::size);
    Frame::build(bytes.data() + bytes.size() - Frame::size, message.data(), message_size,
                 Frame::controller_address, Frame::host_address);
}

constexpr U8_field digital = {Message_id::digest, "inputs"};
constexpr U16_field analog = {Message_id::digest, "analog"};
constexpr U16_field light = {Message_id::digest, "light"};
constexpr U16_field frequency = {Message_id::digest, "frequency"};

/// A digest: digital inputs, then analog input, ambient light and frequency from one number.
void append_digest(Bytes& bytes, unsigned inputs, unsigned number)
{
    append_frame(bytes, message_with(digital.is(inputs), analog.is(number), light.is(number),
                                     frequency.is(number)));
}

/// What a process has used so far, all threads together.
struct Usage {
    double cpu_ns = 0;
    double wakeups = 0;
};

Usage usage_of(pid_t pid)
{
    Usage usage;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        double cpu = 0;
        std::ifstream(task.path() / "schedstat") >> cpu;
        usage.cpu_ns += cpu;
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;) {
            if (word == "voluntary_ctxt_switches:" && status >> word)
                usage.wakeups += std::stod(word);
        }
    }
    return usage;
}

double status_kib(pid_t pid, const std::string& field)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string word; status >> word;) {
        if (double value = 0; word == field && status >> value)
            return value;
    }
    return 0;
}

/// The controller, a process of its own: answers every request with its identifier + 1, at once.
class Line {
public:
    Line()
    {
        master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0)
            throw std::runtime_error("no pty");
        path_ = ptsname(master_);
        const int slave = ::open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        tcgetattr(slave, &settings);
        cfmakeraw(&settings);
        tcsetattr(slave, TCSANOW, &settings); // stays open: a line without hang-ups
        void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::runtime_error("no memory");
        shared_ = new (memory) Shared;
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutex_init(&shared_->mutex, &attributes);
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            answer();
            _exit(0);
        }
    }

    const std::string& path() const { return path_; }
    bool has_spoken() const { return shared_->spoken; }
    Clock::time_point first() const { return shared_->first; }

    /// How many outputs have been switched by request.
    unsigned switched() const { return shared_->switched; }

    void send(const Bytes& bytes)
    {
        pthread_mutex_lock(&shared_->mutex); // the controller's answers are not to come in between
        for (std::size_t done = 0; done < bytes.size();) {
            const ssize_t count = ::write(master_, bytes.data() + done, bytes.size() - done);
            if (count < 0 && errno != EINTR)
                break;
            done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        pthread_mutex_unlock(&shared_->mutex);
    }

private:
    struct Shared {
        pthread_mutex_t mutex;
        std::atomic<bool> spoken{false};
        std::atomic<unsigned> switched{0};
        Clock::time_point first;
    };

    void answer()
    {
        Bytes pending;
        std::uint8_t bytes[4096];
        for (ssize_t count = 0; (count = ::read(master_, bytes, sizeof bytes)) > 0;) {
            if (!shared_->spoken)
                shared_->first = Clock::now();
            shared_->spoken = true;
            pending.insert(pending.end(), bytes, bytes + count);
            Bytes answers;
            unsigned switched = 0;
            for (; pending.size() >= Frame::size;
                 pending.erase(pending.begin(), pending.begin() + Frame::size)) {
                Message message{};
                std::copy_n(&pending[Frame::payload_at], 3, message.begin());
                switched += message[0] == Message_id::digital_outputs ? 1 : 0;
                message[0] = answer_to(message[0]);
                // A digest would count as a change of the inputs.
                if (message[0] != Message_id::digest)
                    append_frame(answers, message);
            }
            send(answers);
            shared_->switched += switched;
        }
    }

    int master_ = -1;
    std::string path_;
    Shared* shared_ = nullptr;
};

void drain(int descriptor)
{
    std::vector<char> bytes(1 << 16);
    while (::read(descriptor, bytes.data(), bytes.size()) > 0) {
    }
}

/// The measured program; ended with the object.
class Program {
public:
    explicit Program(std::vector<std::string> command)
    {
        int ends[2][2];
        if (pipe2(ends[0], O_CLOEXEC) != 0 || pipe2(ends[1], O_CLOEXEC) != 0)
            throw std::runtime_error("no pipes");
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[0][1], 1);
            dup2(ends[1][1], 2);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        for (auto& pipe : ends) {
            ::close(pipe[1]);
            std::thread(drain, pipe[0]).detach();
        }
    }
    ~Program() { end(); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const { return pid_; }

    void end()
    {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        pid_ = -1;
    }

private:
    pid_t pid_ = -1;
};

/// A client of the bus that notes when the digital inputs change.
class Client {
public:
    Client()
    {
        if (sd_bus_open_system(&bus_) < 0)
            throw std::runtime_error("no bus");
        sd_bus_match_signal(bus_, nullptr, nullptr, nullptr,
                            "com.quorin.system.device.io.input.digital", "changed", note, this);
        sd_bus_match_signal(bus_, nullptr, "org.freedesktop.DBus", nullptr, nullptr,
                            "NameOwnerChanged", note_owner, this);
    }
    ~Client() { sd_bus_flush_close_unref(bus_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    sd_bus* bus() { return bus_; }
    std::size_t count(char channel) { return times_[channel].size(); }
    const std::vector<Clock::time_point>& times(char channel) { return times_[channel]; }
    void forget() { times_.clear(); }
    bool has_owner() const { return has_owner_; }
    Clock::time_point owned() const { return owned_; }

    bool wait(const std::function<bool()>& done)
    {
        const auto start = Clock::now();
        while (!done()) {
            if (seconds_since(start) > deadline_s)
                return false;
            if (sd_bus_process(bus_, nullptr) == 0)
                sd_bus_wait(bus_, 500); // what is waited for may come from elsewhere
        }
        return true;
    }

private:
    static int note(sd_bus_message* message, void* self, sd_bus_error*)
    {
        const char* path = sd_bus_message_get_path(message);
        static_cast<Client*>(self)->times_[path[std::strlen(path) - 1]].push_back(Clock::now());
        return 0;
    }

    static int note_owner(sd_bus_message* message, void* self, sd_bus_error*)
    {
        const char* name = nullptr;
        sd_bus_message_read(message, "s", &name);
        auto* client = static_cast<Client*>(self);
        if (std::strcmp(name, service) == 0 && !client->has_owner_) {
            client->owned_ = Clock::now();
            client->has_owner_ = true;
        }
        return 0;
    }

    sd_bus* bus_ = nullptr;
    std::map<char, std::vector<Clock::time_point>> times_;
    bool has_owner_ = false;
    Clock::time_point owned_;
};

std::vector<std::string> with_port(char** command, const std::string& port)
{
    std::vector<std::string> arguments;
    for (; *command != nullptr; ++command)
        arguments.emplace_back(*command);
    arguments.insert(arguments.end(), {"--port", port});
    return arguments;
}

/// Everything of one run.
struct Bench {
    explicit Bench(char** arguments)
        : scenario(arguments[1]),
          size(static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10))),
          bus_pid(static_cast<pid_t>(std::strtol(arguments[3], nullptr, 10))),
          program(with_port(arguments + 4, line.path()))
    {
    }

    std::string scenario;
    unsigned size;
    pid_t bus_pid;
    Line line;
    Client client;
    Clock::time_point start = Clock::now();
    Program program;
    bool marked = false; ///< the level of digital input 3
    double idle_kib = 0;

    bool answers()
    {
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call_method(client.bus(), service, output_path, output_interface,
                                              "is_on", nullptr, &reply, "");
        sd_bus_message_unref(reply);
        return result >= 0;
    }

    /// Ends `bytes` with a change of digital input 3, sends, and waits for the signal of it.
    bool send_to_the_end(Bytes bytes)
    {
        client.forget();
        marked = !marked;
        append_digest(bytes, marked ? 8 : 0, 1000);
        std::thread sender([this, &bytes] { line.send(bytes); });
        const bool arrived = client.wait([this] { return client.count('3') > 0; });
        if (!arrived)
            kill(program.pid(), SIGKILL);
        sender.join();
        return arrived;
    }
};

void print(const std::map<std::string, double>& figures)
{
    const char* separator = "{";
    for (const auto& [name, value] : figures) {
        std::printf("%s\"%s\": %.9g", separator, name.c_str(), value);
        separator = ", ";
    }
    std::puts("}");
}

double percentile(std::vector<double> values, double part)
{
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

void decode(Bench& bench, bool varying)
{
    Bytes bytes;
    for (unsigned i = 0; i < bench.size; ++i)
        append_digest(bytes, bench.marked ? 8 : 0, varying ? i * 7 % 5000 : 1000);
    const Usage before = usage_of(bench.program.pid());
    const auto start = Clock::now();
    const bool arrived = bench.send_to_the_end(std::move(bytes));
    const double wall = seconds_since(start);
    const Usage after = usage_of(bench.program.pid());
    print({{"delivered", arrived ? 1 : 0},
           {"cpu_us_per_frame", (after.cpu_ns - before.cpu_ns) / 1000 / bench.size},
           {"frames_per_s", bench.size / wall},
           {"growth_kib", status_kib(bench.program.pid(), "VmHWM:") - bench.idle_kib}});
}

Bytes garbage(const std::string& kind, unsigned size)
{
    Bytes bytes;
    std::mt19937 random(1);
    while (bytes.size() < size) {
        if (kind == "random") {
            bytes.push_back(static_cast<std::uint8_t>(random()));
        } else if (kind == "sync") {
            bytes.push_back(Frame::sync_1);
            bytes.push_back(Frame::sync_2);
        } else {
            append_digest(bytes, 0, static_cast<unsigned>(random()));
            bytes.back() ^= 1; // a wrong checksum
        }
    }
    return bytes;
}

void send_garbage(Bench& bench, const std::string& kind)
{
    Bytes bytes = garbage(kind, bench.size);
    const Usage before = usage_of(bench.program.pid());
    const bool arrived = bench.send_to_the_end(std::move(bytes));
    const Usage after = usage_of(bench.program.pid());
    print({{"delivered", arrived ? 1 : 0},
           {"cpu_us_per_kb", (after.cpu_ns - before.cpu_ns) / bench.size}});
}

/// Clients beside the measuring one that receive the same signals.
class Crowd {
public:
    explicit Crowd(unsigned size)
    {
        for (unsigned i = 0; i < size; ++i)
            clients_.push_back(std::make_unique<Client>());
        thread_ = std::thread([this] { run(); });
    }
    ~Crowd()
    {
        done_ = true;
        thread_.join();
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

private:
    void run()
    {
        std::vector<pollfd> waiting;
        for (const auto& client : clients_)
            waiting.push_back({sd_bus_get_fd(client->bus()), POLLIN, 0});
        while (!done_) {
            for (const auto& client : clients_) {
                while (sd_bus_process(client->bus(), nullptr) > 0) {
                }
            }
            poll(waiting.data(), waiting.size(), 20);
        }
    }

    std::vector<std::unique_ptr<Client>> clients_;
    std::atomic<bool> done_{false};
    std::thread thread_;
};

/// Frames that each change two digital inputs, 886 a second or as fast as they are taken.
void signals(Bench& bench, bool at_line_rate, unsigned clients)
{
    const Crowd crowd(clients - 1);
    bench.client.forget();
    std::vector<Clock::time_point> sent(bench.size);
    const Usage before = usage_of(bench.program.pid());
    const Usage bus_before = usage_of(bench.bus_pid);
    const auto start = Clock::now();
    std::thread sender([&] {
        for (unsigned i = 0; i < bench.size; ++i) {
            if (at_line_rate)
                std::this_thread::sleep_until(start + std::chrono::nanoseconds(1128668) * i);
            Bytes bytes;
            append_digest(bytes, i % 2 == 0 ? 3 : 0, 1000);
            sent[i] = Clock::now();
            bench.line.send(bytes);
        }
    });
    const bool arrived = bench.client.wait([&] { return bench.client.count('1') >= bench.size; });
    const double wall = seconds_since(start);
    if (!arrived)
        kill(bench.program.pid(), SIGKILL);
    sender.join();
    const Usage after = usage_of(bench.program.pid());
    const Usage bus_after = usage_of(bench.bus_pid);
    std::vector<double> latencies;
    const auto& times = bench.client.times('1');
    for (unsigned i = 0; i < std::min<std::size_t>(times.size(), sent.size()); ++i)
        latencies.push_back(std::chrono::duration<double, std::micro>(times[i] - sent[i]).count());
    print({{"delivered", arrived ? 1 : 0},
           {"median_us", percentile(latencies, 0.5)},
           {"p99_us", percentile(latencies, 0.99)},
           {"signals_per_s", 2 * bench.size / wall},
           {"cpu_us_per_frame", (after.cpu_ns - before.cpu_ns) / 1000 / bench.size},
           {"cpu_us_per_signal", (after.cpu_ns - before.cpu_ns) / 2000 / bench.size},
           {"bus_us_per_frame", (bus_after.cpu_ns - bus_before.cpu_ns) / 1000 / bench.size},
           {"growth_kib", status_kib(bench.program.pid(), "VmHWM:") - bench.idle_kib}});
}

struct Calls {
    unsigned started = 0;
    unsigned answered = 0;
};

int count_answer(sd_bus_message* /*reply*/, void* calls, sd_bus_error* /*error*/)
{
    ++static_cast<Calls*>(calls)->answered;
    return 0;
}

void start_call(Bench& bench, Calls& calls)
{
    sd_bus_call_method_async(bench.client.bus(), nullptr, service, output_path, output_interface,
                             "set", count_answer, &calls, "bb", calls.started % 2, 1);
    ++calls.started;
}

/// Calls until all have been answered, and their requests on the line too: a daemon that answers
/// calls and lets their requests pile up is not faster for that.
void commands(Bench& bench, unsigned outstanding)
{
    Calls calls;
    std::vector<double> latencies;
    const unsigned switched_before = bench.line.switched();
    const Usage before = usage_of(bench.program.pid());
    const auto start = Clock::now();
    while (calls.answered < bench.size) {
        const auto called = Clock::now();
        while (calls.started < bench.size && calls.started - calls.answered < outstanding)
            start_call(bench, calls);
        const unsigned answered = calls.answered;
        if (!bench.client.wait([&] { return calls.answered > answered; }))
            break;
        latencies.push_back(seconds_since(called) * 1e6);
    }
    const double answered_s = seconds_since(start);
    while (bench.line.switched() - switched_before < bench.size &&
           seconds_since(start) < deadline_s)
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    const double wall = seconds_since(start);
    const Usage after = usage_of(bench.program.pid());
    print({{"median_us", percentile(latencies, 0.5)},
           {"p99_us", percentile(latencies, 0.99)},
           {"answers_per_s", calls.answered / answered_s},
           {"calls_per_s", calls.answered / wall},
           {"cpu_us_per_call", (after.cpu_ns - before.cpu_ns) / 1000 / bench.size}});
}

void idle(Bench& bench)
{
    const Usage before = usage_of(bench.program.pid());
    std::this_thread::sleep_for(std::chrono::seconds(bench.size));
    const Usage after = usage_of(bench.program.pid());
    print({{"cpu_ms", (after.cpu_ns - before.cpu_ns) / 1e6},
           {"wakeups", after.wakeups - before.wakeups},
           {"rss_mib", status_kib(bench.program.pid(), "VmRSS:") / 1024}});
}

void start_up(Bench& bench, double answering_ms)
{
    const auto ms = [&](Clock::time_point at) {
        return std::chrono::duration<double, std::milli>(at - bench.start).count();
    };
    print({{"name_ms", ms(bench.client.owned())},
           {"frame_ms", ms(bench.line.first())},
           {"answering_ms", answering_ms}});
}

void measure(Bench& bench)
{
    const auto ready = [&] { return bench.client.has_owner() && bench.line.has_spoken(); };
    if (!bench.client.wait(ready))
        throw std::runtime_error("the program does not start");
    const auto waiting = Clock::now();
    while (!bench.answers()) {
        if (seconds_since(waiting) > deadline_s)
            throw std::runtime_error("the program does not answer");
    }
    if (bench.scenario == "start-up") {
        start_up(bench, seconds_since(bench.start) * 1000);
        return;
    }
    // The requests of the start are over when the program sleeps.
    if (!bench.send_to_the_end({}))
        throw std::runtime_error("no signal of a change");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    bench.idle_kib = status_kib(bench.program.pid(), "VmRSS:");

    const std::map<std::string, std::function<void()>> scenarios = {
        {"decode-constant", [&] { decode(bench, false); }},
        {"decode-varying", [&] { decode(bench, true); }},
        {"signals-line-rate", [&] { signals(bench, true, 1); }},
        {"signals-10-clients", [&] { signals(bench, true, 10); }},
        {"signals-50-clients", [&] { signals(bench, true, 50); }},
        {"signals-flat-out", [&] { signals(bench, false, 1); }},
        {"commands-one", [&] { commands(bench, 1); }},
        {"commands-32", [&] { commands(bench, 32); }},
        {"garbage-random", [&] { send_garbage(bench, "random"); }},
        {"garbage-sync", [&] { send_garbage(bench, "sync"); }},
        {"garbage-checksum", [&] { send_garbage(bench, "checksum"); }},
        {"idle", [&] { idle(bench); }},
    };
    scenarios.at(bench.scenario)();
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 5) {
        std::fputs("Usage: dov-load SCENARIO SIZE BUS-DAEMON-PID PROGRAM [ARGUMENT...]\n", stderr);
        return 2;
    }
    try {
        Bench bench(arguments);
        measure(bench);
        std::fflush(stdout);
        bench.program.end();
        _exit(0); // the threads that drain and answer never end
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "dov-load: %s\n", failure.what());
        _exit(1);
    }
}
