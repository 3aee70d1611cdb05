// Runs a fuzz target without a fuzzing engine: over the files and folders named, or over random
// inputs grown from them. The code under test logs nothing.
//
//   xxx_fuzzer [--runs N] [--seed N] [FILE|FOLDER...]

#include <android/log.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Input = std::vector<uint8_t>;

constexpr size_t kLongestInput = 4096;

void readInputs(const std::filesystem::path& place, std::vector<Input>* inputs) {
    if (std::filesystem::is_directory(place)) {
        const std::filesystem::directory_iterator folder(place);
        for (const auto& entry : folder) readInputs(entry.path(), inputs);
        return;
    }
    std::ifstream file(place, std::ios::binary);
    inputs->emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/** One change such as a fuzzing engine would make. */
void mutate(Input* input, const Input& other, std::mt19937_64* random) {
    const auto below = [random](size_t limit) { return limit == 0 ? 0 : (*random)() % limit; };
    const auto place = input->begin() + static_cast<std::ptrdiff_t>(below(input->size() + 1));
    const auto piece = other.begin() + static_cast<std::ptrdiff_t>(below(other.size() + 1));
    switch (below(4)) {
        case 0:  // change a byte
            if (place != input->end()) *place = static_cast<uint8_t>(below(256));
            break;
        case 1:  // cut the end, or a byte
            input->erase(place, below(2) == 0 || place == input->end() ? input->end() : place + 1);
            break;
        case 2:  // a piece of another input
            input->insert(place, piece, other.end());
            break;
        default:  // a number's border
            if (input->end() - place < 4) break;
            const uint32_t borders[] = {0, 1, 0x7fffffff, 0x80000000, 0xffffffff};
            memcpy(&*place, &borders[below(5)], 4);
    }
    if (input->size() > kLongestInput) input->resize(kLongestInput);
}

void runRandom(const std::vector<Input>& corpus, long runs, uint64_t seed) {
    std::mt19937_64 random(seed);
    const auto pick = [&] { return corpus.empty() ? Input() : corpus[random() % corpus.size()]; };
    for (long i = 0; i < runs; ++i) {
        Input input = pick();
        for (size_t changes = 1 + random() % 8; changes > 0; --changes) {
            mutate(&input, pick(), &random);
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
}

}  // namespace

int main(int argc, char** argv) {
    long runs = 0;
    uint64_t seed = 1;
    std::vector<Input> corpus;
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (strcmp(argv[i], "--runs") == 0 && hasValue) {
            runs = atol(argv[++i]);
        } else if (strcmp(argv[i], "--seed") == 0 && hasValue) {
            seed = strtoull(argv[++i], nullptr, 10);
        } else if (std::filesystem::exists(argv[i])) {
            readInputs(argv[i], &corpus);
        } else {
            fprintf(stderr, "%s: no such file: %s\n", argv[0], argv[i]);
            return 2;
        }
    }
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    for (const Input& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());
    runRandom(corpus, runs, seed);
    printf("%zu files and %ld random inputs survived\n", corpus.size(), runs);
    return 0;
}
