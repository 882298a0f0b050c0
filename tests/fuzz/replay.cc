// SPDX-License-Identifier: GPL-2.0-or-later
// Runs a fuzz target without libFuzzer: with each file of its corpus, then with mutations of them
// that are the same in each run.
//
//     fuzz_TARGET CORPUS [MUTATIONS]
//
// CORPUS is a directory or one file. An input that makes the target fail is left behind as
// fuzz_TARGET.failed.
#include "fuzz.h"
#include "support/files.h"
#include "yat/export.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <vector>

namespace fs = std::filesystem;

// So that the sanitizers' failures come as a signal too.
extern "C" YAT_API const char *__asan_default_options()
{
    return "abort_on_error=1";
}

extern "C" YAT_API const char *__ubsan_default_options()
{
    return "abort_on_error=1:print_stacktrace=1";
}

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t longest = 4096;

const Bytes *running;
std::string failedName;

void keepInput(int signal)
{
    const int file = open(failedName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0 || write(file, running->data(), running->size()) < 0)
        _exit(2);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void run(const Bytes &input)
{
    running = &input;
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

Bytes bytesOf(const fs::path &path)
{
    const std::string text = readFile(path);
    return Bytes(text.begin(), text.end());
}

std::vector<Bytes> readCorpus(const fs::path &path)
{
    if (!fs::is_directory(path))
        return {bytesOf(path)};
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(path))
        files.push_back(entry.path());
    std::ranges::sort(files); // the same mutations everywhere
    std::vector<Bytes> corpus;
    for (const fs::path &file : files)
        corpus.push_back(bytesOf(file));
    return corpus;
}

// std::mt19937 gives the same numbers everywhere; the standard distributions need not.
class Mutator {
public:
    Bytes mutate(const std::vector<Bytes> &corpus)
    {
        Bytes input = corpus[below(corpus.size())];
        for (size_t steps = 1 + below(6); steps > 0; --steps)
            step(input, corpus);
        if (input.size() > longest)
            input.resize(longest);
        return input;
    }

private:
    size_t below(size_t limit)
    {
        return limit ? random() % limit : 0;
    }

    static Bytes::iterator at(Bytes &bytes, size_t position)
    {
        return bytes.begin() + static_cast<Bytes::difference_type>(position);
    }

    void step(Bytes &input, const std::vector<Bytes> &corpus)
    {
        static constexpr uint8_t telling[] = {0,    '\n', '"',  '\\', ' ',  '[',  '=',  0x7F,
                                              0x80, 0x8E, 0x8F, 0xA1, 0xC2, 0xE3, 0xFE, 0xFF};
        const size_t place = below(input.size() + 1);
        const size_t end = place + below(input.size() - place + 1);
        switch (below(6)) {
        case 0:
            if (place < input.size())
                input[place] ^= static_cast<uint8_t>(1u << below(8));
            break;
        case 1: input.insert(at(input, place), telling[below(std::size(telling))]); break;
        case 2: input.insert(at(input, place), static_cast<uint8_t>(below(256))); break;
        case 3: input.erase(at(input, place), at(input, end)); break;
        case 4: {
            const Bytes part(at(input, place), at(input, end));
            input.insert(at(input, below(input.size() + 1)), part.begin(), part.end());
            break;
        }
        case 5: {
            Bytes other = corpus[below(corpus.size())];
            input.resize(place);
            input.insert(input.end(), at(other, below(other.size() + 1)), other.end());
            break;
        }
        }
    }

    std::mt19937 random{20261121};
};

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::vector<Bytes> corpus = readCorpus(argv[1]);
    if (corpus.empty()) {
        fprintf(stderr, "%s: no inputs\n", argv[1]);
        return 2;
    }
    failedName = fs::path(argv[0]).filename().string() + ".failed";
    std::signal(SIGABRT, keepInput);
    std::signal(SIGSEGV, keepInput);
    run({});
    for (const Bytes &input : corpus)
        run(input);
    Mutator mutator;
    const int mutations = argc > 2 ? atoi(argv[2]) : 0;
    for (int i = 0; i < mutations; ++i)
        run(mutator.mutate(corpus));
    printf("%zu inputs, %d mutations\n", corpus.size(), mutations);
    return 0;
}
