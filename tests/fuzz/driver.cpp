// Runs a fuzz target without a fuzzing engine: over the files and folders named, then over random
// inputs grown from them. The code under test logs nothing.

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
    const size_t at = (*random)() % (input->size() + 1);
    const auto place = input->begin() + static_cast<std::ptrdiff_t>(at);
    const uint32_t borders[] = {0, 1, 0x7fffffff, 0x80000000, 0xffffffff};
    switch ((*random)() % 4) {
        case 0:  // change a byte
            if (at < input->size()) *place = static_cast<uint8_t>((*random)());
            break;
        case 1:  // cut the end, or a byte
            input->erase(place,
                         (*random)() % 2 == 0 || at == input->size() ? input->end() : place + 1);
            break;
        case 2:  // another input
            input->insert(place, other.begin(), other.end());
            break;
        default:  // a number's border
            if (at + 4 <= input->size()) memcpy(&*place, &borders[(*random)() % 5], 4);
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
    if (argc < 3) {
        fprintf(stderr, "usage: %s RUNS SEED [FILE|FOLDER...]\n", argv[0]);
        return 2;
    }
    std::vector<Input> corpus;
    for (int i = 3; i < argc; ++i) readInputs(argv[i], &corpus);
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    for (const Input& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());
    const long runs = atol(argv[1]);
    runRandom(corpus, runs, strtoull(argv[2], nullptr, 10));
    printf("%zu files and %ld random inputs survived\n", corpus.size(), runs);
    return 0;
}
