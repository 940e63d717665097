// The daemon's hot functions on their own, without line and bus.

#include "Console.h"
#include "Frame.h"
#include "Message_id.h"
#include "Power_controller_interface.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// A link whose bytes come from the benchmark instead of a line.
class Fed_link : public Power_controller_interface {
public:
    void feed(const QByteArray& bytes) { put_received(bytes); }
};

void read_frames(benchmark::State& state, const QByteArray& bytes)
{
    Fed_link link;
    unsigned char payload[256];
    for (auto _ : state) {
        link.feed(bytes);
        while (link.read_packet(payload, sizeof payload) > 0)
            benchmark::DoNotOptimize(payload);
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

QByteArray good_frames()
{
    const Message digest = {Message_id::digest, 0x00, 0x01, 0x23, 0x01, 0x23, 0x01, 0x23};
    return Frame::build(digest).repeated(1000);
}

void read_good_frames(benchmark::State& state)
{
    read_frames(state, good_frames());
}
BENCHMARK(read_good_frames);

void skip_bytes_without_sync(benchmark::State& state)
{
    read_frames(state, QByteArray(13000, 'x'));
}
BENCHMARK(skip_bytes_without_sync);

void dump_a_message(benchmark::State& state)
{
    const Console_batch batch;
    const uchar payload[] = {Message_id::digest, 0, 1, 2, 3, 4, 5, 6};
    for (auto _ : state) {
        Console::err().bytes("Got Digest: ", Byte_style::padded_spaced, payload, sizeof payload)
            << "\n";
    }
}
BENCHMARK(dump_a_message);

void spell_the_same_number(benchmark::State& state)
{
    const Console_batch batch;
    for (auto _ : state)
        Console::err() << 12.345 << "\n";
}
BENCHMARK(spell_the_same_number);

void spell_varying_numbers(benchmark::State& state)
{
    const Console_batch batch;
    double number = 0;
    for (auto _ : state) {
        number = number > 5 ? 0 : number + 0.001;
        Console::err() << number << "\n";
    }
}
BENCHMARK(spell_varying_numbers);

} // namespace

int main(int count, char** arguments)
{
    // The texts of the functions under test go nowhere; the report goes to standard output.
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
