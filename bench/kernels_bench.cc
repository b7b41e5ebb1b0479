// SPDX-License-Identifier: Apache-2.0
// Each hot stage in each variant on an A4 page at 300 dpi, beside memcpy of it.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "image/halftone_rows.h"
#include "image/palette_image.h"
#include "image/row_ops.h"
#include "tattoo/pipeline.h"
#include "tattoo/qz_image.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/threshold.h"
#include "tests/model/page_patterns.h"

namespace {

constexpr int kWidth = 2480;
constexpr int kHeight = 3508;

const model::Grey& page() {
  static const model::Grey photo = model::patternPage("photo", kWidth, kHeight, 1);
  return photo;
}

const uint8_t* rowOf(uint32_t y) { return page().pixels.data() + size_t{y} * kWidth; }

void perPage(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * int64_t{kWidth} * kHeight);
  state.SetLabel("A4");
}

void copyPage(benchmark::State& state) {
  std::vector<uint8_t> out(page().pixels.size());
  for (auto _ : state) {
    std::memcpy(out.data(), page().pixels.data(), out.size());
    benchmark::ClobberMemory();
  }
  perPage(state);
}

void halftone(benchmark::State& state, HalftoneVariant variant, long method) {
  const auto source = [](uint32_t y, uint8_t* row) { std::memcpy(row, rowOf(y), kWidth); };
  const auto sink = [](uint32_t, const uint8_t* row) { benchmark::DoNotOptimize(row[0]); };
  for (auto _ : state) variant.run(method, kWidth, kHeight, source, sink);
  perPage(state);
}

void stencil(benchmark::State& state, StencilVariant variant) {
  std::array<uint8_t, 256> table = {};
  const auto source = [&](uint32_t y, uint8_t* row) {
    const uint8_t* in = rowOf(y);
    for (int x = 0; x < kWidth; ++x) row[x] = table[in[x]];
  };
  const auto sink = [](uint32_t, const uint8_t* row) { benchmark::DoNotOptimize(row[0]); };
  for (auto _ : state) {
    LevelHistogram histogram = {};
    countLevels(page().pixels.data(), page().pixels.size(), histogram);
    const int32_t threshold = momentThreshold(histogram, kWidth * kHeight);
    table = stencilCurveTable(StencilCurve::lifted, threshold);
    variant.run(threshold, kWidth, kHeight, source, sink);
  }
  perPage(state);
}

void pack(benchmark::State& state, RowOpsVariant variant) {
  std::vector<uint8_t> out(kWidth / 8 * size_t{kHeight});
  for (auto _ : state) {
    for (uint32_t y = 0; y < kHeight; ++y) {
      variant.pack(rowOf(y), kWidth, out.data() + size_t{y} * (kWidth / 8));
    }
    benchmark::ClobberMemory();
  }
  perPage(state);
}

void replace(benchmark::State& state, RowOpsVariant variant, int brightness, int contrast) {
  const LevelTable table = PaletteImage::lightTable(brightness, contrast);
  std::vector<uint8_t> out(page().pixels.size());
  for (auto _ : state) {
    for (uint32_t y = 0; y < kHeight; ++y) {
      variant.replace(rowOf(y), kWidth, table, out.data() + size_t{y} * kWidth);
    }
    benchmark::ClobberMemory();
  }
  perPage(state);
}

// Whole-image operations, in place.
void imageOperation(benchmark::State& state, void (*operation)(PaletteImage&)) {
  PaletteImage image;
  image.CreateFromArray(page().pixels.data(), kWidth, kHeight, 8, kWidth, false);
  for (auto _ : state) operation(image);
  image.Destroy();
  perPage(state);
}

const char* methodName(long method) {
  constexpr const char* kNames[] = {"threshold", "ordered", "burkes",    "stucki",
                                    "jarvis",    "sierra",  "stevenson", "bayer"};
  return method >= 0 && method < 8 ? kNames[method] : "floyd";
}

void registerAll() {
  using benchmark::RegisterBenchmark;
  const auto unit = [](benchmark::internal::Benchmark* b) { b->Unit(benchmark::kMillisecond); };
  unit(RegisterBenchmark("memcpy", copyPage));
  for (const HalftoneVariant& variant : halftoneVariants()) {
    for (const long method : {0L, 1L, 7L, 2L, 3L, 4L, 5L, 6L, 8L}) {
      const std::string name = std::string(methodName(method)) + "/" + variant.name;
      unit(RegisterBenchmark(name.c_str(), halftone, variant, method));
    }
  }
  for (const StencilVariant& variant : stencilVariants()) {
    unit(RegisterBenchmark((std::string("tattoo/") + variant.name).c_str(), stencil, variant));
  }
  for (const RowOpsVariant& variant : rowOpsVariants()) {
    unit(RegisterBenchmark((std::string("pack/") + variant.name).c_str(), pack, variant));
    // Brightness alone is a saturating shift; with contrast any table may come.
    const std::string name = variant.name;
    unit(RegisterBenchmark(("brightness/" + name).c_str(), replace, variant, 40, 0));
    unit(RegisterBenchmark(("tone/" + name).c_str(), replace, variant, 40, 10));
  }
  unit(RegisterBenchmark("negative/best", imageOperation, [](PaletteImage& i) { i.Negative(); }));
  unit(RegisterBenchmark("mirror/best", imageOperation, [](PaletteImage& i) { i.Mirror(); }));
  unit(RegisterBenchmark("rotate/best", imageOperation, [](PaletteImage& i) { i.Rotate180(); }));
}

}  // namespace

int main(int argc, char* argv[]) {
  registerAll();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
