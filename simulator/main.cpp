// rtosMediaDBSim: a simulated camera, as far as its media database goes.
#include <csignal>
#include <iostream>

#include <sys/resource.h>
#include <sys/signalfd.h>

#include "options.h"
#include "rendezvous.h"
#include "replay.h"
#include "sampleCard.h"
#include "server.h"

namespace
{

enum ExitStatus { exitDone = 0, exitFailure = 1, exitUsage = 2, exitChannelTaken = 3 };

// A descriptor that becomes readable on the signals that end a run.
sim::UniqueFd stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return sim::UniqueFd(signalfd(-1, &signals, SFD_CLOEXEC));
}

void serve(const sim::Options &options)
{
    const sim::UniqueFd stop = stopSignals();
    // One descriptor for each client: as many as the system gives.
    rlimit descriptors{};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = descriptors.rlim_max;
    setrlimit(RLIMIT_NOFILE, &descriptors);

    char path[RENDEZVOUS_PATH_BYTES];
    if (const int result = rendezvousPath(DB_CHANNEL_NAME, path, sizeof path); result < 0) {
        throw std::runtime_error(
            "the folder of the channel can't be used: " + std::generic_category().message(-result) +
            "; the one that MXIPC_DIR names must belong to the user and be closed to all others "
            "(mode 700)");
    }
    const auto run = [&](auto &&source, const std::string &name) {
        const sim::Channel channel(path);
        std::cout << "rtosMediaDBSim: serving " << name << " at " << path << std::endl;
        sim::Server(channel, source, sim::Faults(options.faults)).run(stop.get());
    };
    if (options.replay.empty()) {
        run(sim::Database(options.card), options.card);
    } else {
        sim::Replay replay = sim::readReplay(options.replay);
        run([&replay](sim::Bytes request) { return replay.answer(request); }, options.replay);
    }
}

} // namespace

int main(int count, char *arguments[])
{
    sim::Options options;
    if (!sim::readOptions(count, arguments, options)) {
        std::cerr << "Try 'rtosMediaDBSim --help'.\n";
        return exitUsage;
    }
    try {
        if (options.help) {
            sim::printHelp(std::cout);
        } else if (options.makeCard) {
            sim::makeCard(options.card, options.items);
        } else {
            serve(options);
        }
        return exitDone;
    } catch (const sim::ChannelTaken &error) {
        std::cerr << "rtosMediaDBSim: " << error.what() << '\n';
        return exitChannelTaken;
    } catch (const std::exception &error) {
        std::cerr << "rtosMediaDBSim: " << error.what() << '\n';
        return exitFailure;
    }
}
