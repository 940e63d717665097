// Two threads and one number: behind a lock, or, with the argument "race", not. Shows that the
// annotations hide no race.

#include <QMutex>
#include <QSemaphore>

#include <cstring>
#include <thread>

int main(int count, char** arguments)
{
    const bool races = count > 1 && std::strcmp(arguments[1], "race") == 0;
    int number = 0;
    QMutex mutex;
    QSemaphore finished;
    const auto add = [&] {
        for (int i = 0; i < 1000; ++i) {
            if (!races)
                mutex.lock();
            ++number;
            if (!races)
                mutex.unlock();
        }
        finished.release();
    };
    std::thread first(add);
    std::thread second(add);
    finished.acquire(2);
    first.join();
    second.join();
    return number > 0 ? 0 : 1;
}
