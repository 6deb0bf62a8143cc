// How the work grows with what there is to do. The rooms and the hosted machine in one
// process; ./bench makes the table and knows the limits.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <vector>

#include "benchmarks/staging.h"
#include "main/modMain.h"
#include "platform/hosted/registry/registry.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstProc.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

// The relaunched copy's work from its timer on: the whole sequence, every question
// answered with its default.
class Sequence : public frmUnInstProc {
 public:
    void Run() {
        Globals() = {"C:\\Programme\\Tessorin\\", "C:\\windows\\system32\\",
                     "C:\\Programs\\Tessorin\\"};
        if (Load()) {
            Form_Timer();
        }
        hosted::SaveRegistry();
    }
};

// The whole sequence where so many extensions start the editor.
void VerbPass(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    StagedMachine machine;
    machine.AddExtensions(count);
    machine.Enter();
    Sequence sequence;
    for ([[maybe_unused]] auto _ : state) {
        sequence.Run();
    }
    if (machine.CountNotepads() != count || fs::exists(machine.ProgramFolder())) {
        state.SkipWithError("not all of the work has been done");
    }
}

// The product's key with so many keys below it.
void KeyDeletion(benchmark::State& state) {
    StagedMachine machine;
    machine.AddSettings(static_cast<std::size_t>(state.range(0)));
    machine.Enter();
    LONG code = 0;
    for ([[maybe_unused]] auto _ : state) {
        code = modRegistry::DeleteKeyTree(HKEY_LOCAL_MACHINE, "Software\\Verlonix",
                                          modRegistry::Silent);
        hosted::SaveRegistry();
    }
    if (code != (state.range(0) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS)) {
        state.SkipWithError("the key has not been deleted");
    }
}

// The whole sequence with so many files in the program folder.
void FileDeletion(benchmark::State& state) {
    StagedMachine machine;
    machine.AddFiles(static_cast<std::size_t>(state.range(0)));
    machine.Enter();
    Sequence sequence;
    for ([[maybe_unused]] auto _ : state) {
        sequence.Run();
    }
    if (fs::exists(machine.ProgramFolder())) {
        state.SkipWithError("the folder is still there");
    }
}

// What Linux itself needs for the same files.
void FileDeletionByLibrary(benchmark::State& state) {
    StagedMachine machine;
    machine.AddFiles(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        fs::remove_all(machine.ProgramFolder());
    }
}

void ScriptBuilding(benchmark::State& state) {
    const std::string folder(static_cast<std::size_t>(state.range(0)), 'x');
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(BuildScript("C:\\windows\\Temp\\", "C:\\windows\\Temp\\", folder));
    }
}

bool RunAndWait(std::string program) {
    std::string argument("/?");
    const std::array<char*, 3> words{program.data(), argument.data(), nullptr};
    pid_t child = 0;
    int status = -1;
    return posix_spawn(&child, program.c_str(), nullptr, nullptr, words.data(), environ) == 0 &&
           waitpid(child, &status, 0) == child && status == 0;
}

// A process that finds its machine, refuses its argument and ends.
void StartUp(benchmark::State& state) {
    StagedMachine machine;
    const std::string program = machine.AddProgram(BENCH_PROGRAM);
    machine.Enter();
    for ([[maybe_unused]] auto _ : state) {
        if (!RunAndWait(program)) {
            state.SkipWithError("the program has failed");
        }
    }
}

// What a process of Linux needs anyway.
void StartUpOfTrue(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        RunAndWait("/bin/true");
    }
}

// Runs that need a fresh machine each; the least of their times is the one that counts.
void Fresh(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(1)->Repetitions(4)->Unit(benchmark::kMillisecond);
}

// As many runs as it takes.
void Repeated(benchmark::internal::Benchmark* benchmark) {
    benchmark->Repetitions(4)->Unit(benchmark::kMicrosecond);
}

double Least(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

BENCHMARK(VerbPass)->Arg(0)->Arg(1000)->Arg(10000)->Arg(100000)->Apply(Fresh)->ComputeStatistics(
    "least", Least);
BENCHMARK(KeyDeletion)
    ->Arg(0)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Apply(Fresh)
    ->ComputeStatistics("least", Least);
BENCHMARK(FileDeletion)
    ->Arg(0)
    ->Arg(1000)
    ->Arg(10000)
    ->Apply(Fresh)
    ->ComputeStatistics("least", Least);
BENCHMARK(FileDeletionByLibrary)->Arg(10000)->Apply(Fresh)->ComputeStatistics("least", Least);
BENCHMARK(ScriptBuilding)->Arg(20)->Arg(250)->Apply(Repeated)->ComputeStatistics("least", Least);
BENCHMARK(StartUp)->UseRealTime()->Apply(Repeated)->ComputeStatistics("least", Least);
BENCHMARK(StartUpOfTrue)->UseRealTime()->Apply(Repeated)->ComputeStatistics("least", Least);

}  // namespace
}  // namespace bench

BENCHMARK_MAIN();
