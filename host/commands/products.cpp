/// `gnx products`: a recorded stream of corrections as orbit, clock and bias files.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "commands/option_text.h"
#include "gnx/error.h"
#include "gnx/write.h"
#include "run/input_survey.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

struct ProductsArguments {
  std::vector<std::string> ssr, nav;
  std::string directory, antex, from, to, frame = "ITRF";
  ProductPlan plan;
};

void tell(const StreamProducts& p, const std::vector<std::filesystem::path>& files) {
  std::printf("%zu satellites, %zu epochs of orbits every %g s, %zu of clocks, %zu biases\n",
              p.satellites.size(), p.orbits.size(), p.orbitInterval_s, p.clocks.size(), p.biases.size());
  for (const auto& file : files) std::printf("  %s\n", file.c_str());
  if (p.withoutMessage > 0)
    std::fprintf(stderr,
                 "warning: the navigation files lack the messages of %ld corrections; they are left out\n",
                 p.withoutMessage);
  if (p.withoutAntenna > 0)
    std::fprintf(stderr,
                 "warning: %ld orbits are left out, the antenna file has no offsets of their satellites\n",
                 p.withoutAntenna);
  if (p.discontinuities > 0)
    std::fprintf(
        stderr,
        "note: phase biases have %ld discontinuities; a file of biases cannot say that arcs begin anew\n",
        p.discontinuities);
}

void makeProducts(ProductsArguments& a) {
  if (!a.from.empty()) a.plan.from = parseTime(a.from, "--from");
  if (!a.to.empty()) a.plan.to = parseTime(a.to, "--to");
  if (a.plan.from && a.plan.to && *a.plan.to < *a.plan.from)
    throw UsageError("--from " + a.from + " is later than --to " + a.to + "; exchange them");
  for (const std::string& file : a.ssr) requireKind(file, "--ssr");
  for (const std::string& file : a.nav) requireKind(file, "--nav");
  if (!a.antex.empty()) requireKind(a.antex, "--antex");
  const StreamProducts products = streamProducts(a.ssr, a.nav, a.antex, a.plan);
  if (products.orbits.empty() || products.clocks.empty())
    throw InputError(
        a.ssr.front(), 0,
        "gives no orbit with a clock in the chosen time; check --from, --to and the navigation files");

  ProductFileOptions options;
  options.frame = a.frame;
  options.made = {std::time(nullptr), 0.0};
  options.comments = {
      "broadcast orbits and clocks corrected by a stream",
      !a.antex.empty() ? "positions of the centre of mass" : "positions of the stream's reference point",
      "clocks without periodic relativity; BDS: pair B1I/B3I"};
  const std::filesystem::path dir(a.directory);
  makeDirectory(dir, "--out");
  std::vector<std::filesystem::path> files = {dir / "orbits.sp3", dir / "clocks.clk"};
  writeOrbitFile(files[0], products, options);
  writeClockFile(files[1], products, options);
  if (!products.biases.empty()) {
    files.push_back(dir / "biases.bia");
    writeBiasFile(files[2], products, options);
  } else {
    std::filesystem::remove(dir / "biases.bia");  // of an earlier run
  }
  tell(products, files);
}

}  // namespace

void addProducts(CLI::App& app) {
  auto* cmd = app.add_subcommand("products", "turn a recorded stream into SP3, clock and bias files");
  auto a = std::make_shared<ProductsArguments>();
  cmd->add_option("--ssr", a->ssr, "SSR text files, one after the other in time")->required();
  cmd->add_option("--nav", a->nav, "RINEX navigation files with the messages that the stream corrects")
      ->required();
  cmd->add_option("--out", a->directory, "folder of orbits.sp3, clocks.clk and biases.bia")->required();
  a->plan.orbitInterval_s = 0.0;
  cmd->add_option("--interval", a->plan.orbitInterval_s,
                  "of the orbits, whole seconds; 0: that of the stream's clocks, to which its orbits belong")
      ->check(CLI::Range(0, 3600))
      ->capture_default_str();
  cmd->add_option("--clock-interval", a->plan.clockInterval_s,
                  "of the clocks, s; 0: every epoch of the stream")
      ->check(CLI::Range(0.0, 3600.0))
      ->capture_default_str();
  cmd->add_option("--bias-interval", a->plan.biasInterval_s, "biases change no faster, s")
      ->check(CLI::Range(0.0, 86400.0))
      ->capture_default_str();
  cmd->add_option("--antex", a->antex,
                  "antenna file: the stream gives positions of antennas, the product centres of mass");
  cmd->add_option("--frame", a->frame, "name of the frame for the orbit file, at most 5 characters")
      ->check(CLI::Validator(
          [](std::string& text) { return text.size() <= 5 ? "" : "is longer than 5 characters"; }, "TEXT"))
      ->capture_default_str();
  cmd->add_option("--from", a->from, "first epoch, GPS time");
  cmd->add_option("--to", a->to, "last epoch, GPS time");
  cmd->footer("example: gnx products --ssr stream.ssr --nav brdc.rnx --out products --antex antennas.atx");
  cmd->callback([a] { makeProducts(*a); });
}

}  // namespace gnx
