// What the engine adds to a hand-off between two threads.
//   engine_bench              the ratios
//   engine_bench requests N   N requests, to count instructions with a profiler
#include <sched.h>
#include <semaphore.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <thread>

#include "bench/paired.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "tests/harness/stood_in_rooms.h"

// What is timed ends in nothing.
void on_request_handler(uint32_t, int32_t, void*, size_t, RIL_Token) {}

namespace {

// Two threads, two semaphores: the least that a hand-off and its answer cost.
class BareHandOff {
public:
    BareHandOff() {
        sem_init(&go_, 0, 0);
        sem_init(&done_, 0, 0);
        worker_ = std::thread([this] {
            for (sem_wait(&go_); !end_; sem_wait(&go_)) {
                sem_post(&done_);
            }
        });
    }
    ~BareHandOff() {
        end_ = true;
        sem_post(&go_);
        worker_.join();
    }
    void run(int operations) {
        for (int i = 0; i < operations; ++i) {
            sem_post(&go_);
            sem_wait(&done_);
        }
    }

private:
    sem_t go_, done_;
    bool end_ = false;
    std::thread worker_;
};

void post_requests(int operations) {
    for (int i = 0; i < operations; ++i) {
        qelril_post_request(0, RIL_REQUEST_OPERATOR, nullptr, 0, nullptr);
    }
}

// How often threads of this process went to sleep so far.
long sleeps() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

long wake_ups_in_an_idle_second() {
    usleep(50000);  // until everybody sleeps
    const long before = sleeps();
    sleep(1);
    return sleeps() - before - 1;  // this thread's own sleep
}

// Keeps this thread and those that it starts on one processor.
void stay_on_one_processor() {
    const int processor = sched_getcpu();
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<size_t>(processor), &one);
    sched_setaffinity(0, sizeof(one), &one);
}

void compare_hand_offs(const char* name) {
    qelril_init();
    BareHandOff bare;
    constexpr int c_operations = 20000;
    const auto run_bare = [&](int operations) { bare.run(operations); };
    const PairedResult result = measure_pairs(post_requests, run_bare, c_operations, 31);
    print_pairs(name, result);
    const long start = sleeps();
    post_requests(c_operations);
    const long middle = sleeps();
    run_bare(c_operations);
    std::printf("%-48s %10.2f     baseline %10.2f\n", "  sleeps per operation",
                static_cast<double>(middle - start) / c_operations,
                static_cast<double>(sleeps() - middle) / c_operations);
    qelril_destroy();
}

}  // namespace

int main(int argc, char** argv) {
    start_engine(nullptr);
    if (argc == 3 && strcmp(argv[1], "requests") == 0) {
        post_requests(atoi(argv[2]));
        stop_engine();
        return 0;
    }

    std::printf("%-48s %10ld\n", "wake-ups in an idle second", wake_ups_in_an_idle_second());
    stop_engine();

    const double start_stop = time_ns(
        [](int operations) {
            for (int i = 0; i < operations; ++i) {
                qelril_init();
                qelril_destroy();
            }
        },
        500);
    std::printf("%-48s %10.1f us\n", "engine start and stop", start_stop / 1000);

    // Between two processors it is a race on a virtual machine: waking the other one takes the waker so long that the
    // answer may be there before it falls asleep, and then half of the wake-ups are saved. Either side wins or loses
    // that by nanoseconds, for whole rounds at a time. On one processor the figure repeats.
    compare_hand_offs("hand-off between processors / bare one");
    stay_on_one_processor();
    compare_hand_offs("hand-off on one processor / bare one");
    return 0;
}
