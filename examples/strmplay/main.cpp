// strmplay: plays an HLS stream through libstrmcommon, the way a playback engine drives it.
// With no URL it serves the sample stream that ships with it from a loopback server whose rate
// changes over time, so that the adaptive switching can be watched.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ExitStatus.h"
#include "Player.h"
#include "RateSchedule.h"
#include "Reporter.h"
#include "SampleServer.h"
#include "StatusLine.h"
#include "StopSignal.h"
#include "Trace.h"
#include "TsOutput.h"
#include "url_util.h"

#ifndef STRMPLAY_SAMPLE_DIR
#define STRMPLAY_SAMPLE_DIR "sample"
#endif

namespace {

// Down from the top variant and back up again, in the sample's 30 seconds.
constexpr const char* kDefaultSchedule = "8000@0,600@5,6000@12";
constexpr double kQuickScale = 10.0;

void Usage(std::FILE* out) {
  std::fprintf(out,
               "usage: strmplay [options] [URL]\n"
               "Plays an HLS stream (master or media playlist URL) through libstrmcommon.\n"
               "Without URL: serves the built-in sample on 127.0.0.1 with a changing link rate.\n"
               "\n"
               "  --quick               run the playback model and the link %gx faster\n"
               "  --rate-schedule S     link rate of the built-in server, KBPS@SECOND,...\n"
               "                        (default \"%s\")\n"
               "  --cap KBPS            cap on the link rate (built-in server) or on the\n"
               "                        download speed (URL)\n"
               "  -o, --output FILE     write the clear transport stream of what was played\n"
               "                        (- for standard output; the messages go to stderr)\n"
               "  --csv FILE            write the trace as CSV\n"
               "  --svg FILE            plot the trace as SVG\n"
               "  --client-name NAME    cookies are kept across runs under this name\n"
               "                        (default strmplay)\n"
               "  --start N             start with variant N (ascending bandwidth; default:\n"
               "                        the middle one)\n"
               "  --max-buffer SECONDS  buffer target (default 8)\n"
               "  --duration SECONDS    stop after this much media (live streams: default 60)\n"
               "  --sample DIR          stream directory of the built-in server\n"
               "                        (default %s)\n"
               "  --verbose             more detail, and the library's log on stderr\n"
               "  --help\n"
               "\n"
               "Exit status: 0 every segment played; 1 segments failed or were not playable;\n"
               "2 wrong command line; 3 nothing to play (playlist failed, stream refused);\n"
               "4 the live playlist stopped changing; 5 the output could not be written;\n"
               "130 stopped by Ctrl-C (after the summary).\n",
               kQuickScale, kDefaultSchedule, STRMPLAY_SAMPLE_DIR);
}

bool NeedValue(int i, int argc, const char* option) {
  if (i + 1 < argc) return true;
  std::fprintf(stderr, "strmplay: %s needs a value\n", option);
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  strmplay::PlayerOptions options;
  std::string scheduleText = kDefaultSchedule;
  std::string csvPath, svgPath, outputPath, sampleDir = STRMPLAY_SAMPLE_DIR;
  int capKbps = 0;
  bool quick = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      Usage(stdout);
      return 0;
    } else if (arg == "--quick") {
      quick = true;
    } else if (arg == "--verbose" || arg == "-v") {
      options.verbose = true;
    } else if (arg == "--rate-schedule") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      scheduleText = argv[++i];
    } else if (arg == "--cap") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      capKbps = std::atoi(argv[++i]);
      if (capKbps <= 0) {
        std::fprintf(stderr, "strmplay: --cap wants a positive kbit/s value\n");
        return strmplay::kExitUsage;
      }
    } else if (arg == "--output" || arg == "-o") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      outputPath = argv[++i];
    } else if (arg == "--csv") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      csvPath = argv[++i];
    } else if (arg == "--svg") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      svgPath = argv[++i];
    } else if (arg == "--client-name") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      options.clientName = argv[++i];
      if (options.clientName.empty() || options.clientName.find('/') != std::string::npos) {
        std::fprintf(stderr, "strmplay: --client-name wants a plain name\n");
        return strmplay::kExitUsage;
      }
    } else if (arg == "--start") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      options.startVariant = std::atoi(argv[++i]);
    } else if (arg == "--max-buffer") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      options.maxBufferSeconds = std::atof(argv[++i]);
      if (options.maxBufferSeconds < 2.0) {
        std::fprintf(stderr, "strmplay: --max-buffer wants at least 2 seconds\n");
        return strmplay::kExitUsage;
      }
    } else if (arg == "--duration") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      options.maxMediaSeconds = std::atof(argv[++i]);
      if (options.maxMediaSeconds <= 0.0) {
        std::fprintf(stderr, "strmplay: --duration wants a positive number of seconds\n");
        return strmplay::kExitUsage;
      }
    } else if (arg == "--sample") {
      if (!NeedValue(i, argc, argv[i])) return strmplay::kExitUsage;
      sampleDir = argv[++i];
    } else if (arg.size() > 1 && arg[0] == '-') {
      std::fprintf(stderr, "strmplay: unknown option %s\n", arg.c_str());
      Usage(stderr);
      return strmplay::kExitUsage;
    } else if (options.url.empty()) {
      options.url = arg;
    } else {
      std::fprintf(stderr, "strmplay: one URL only\n");
      return strmplay::kExitUsage;
    }
  }
  // The library logs through the platform's log service; keep it off the terminal unless asked.
  if (!options.verbose) setenv("DLOG_STUB_LEVEL", "S", 0);
  options.timeScale = quick ? kQuickScale : 1.0;

  strmplay::RateSchedule schedule;
  std::string error;
  if (!schedule.Parse(scheduleText, error)) {
    std::fprintf(stderr, "strmplay: %s\n", error.c_str());
    return strmplay::kExitUsage;
  }
  schedule.SetCap(capKbps);

  // With the stream on standard output, every message goes to standard error.
  strmplay::TsOutput output;
  if (!outputPath.empty() && !output.Open(outputPath, error)) {
    std::fprintf(stderr, "strmplay: %s\n", error.c_str());
    return strmplay::kExitUsage;
  }
  std::FILE* text = output.ToStandardOutput() ? stderr : stdout;
  // A reader of --output that goes away ends the writes with an error, not the program.
  std::signal(SIGPIPE, SIG_IGN);
  strmplay::InstallStopSignals();
  // The library's standard-scheme list has no lock: fill it before the engine's worker thread
  // and this one both resolve URLs.
  url_util::Initialize();

  strmplay::StatusLine status(text);
  strmplay::Reporter reporter(status, options.timeScale);
  strmplay::Trace trace;
  std::unique_ptr<strmplay::SampleServer> server;
  if (options.url.empty()) {
    server = std::make_unique<strmplay::SampleServer>(schedule, options.timeScale);
    if (!server->Load(sampleDir, error) || !server->Start(error)) {
      std::fprintf(stderr, "strmplay: built-in server: %s\n", error.c_str());
      return strmplay::kExitCannotPlay;
    }
    options.url = server->BaseUrl() + "master.m3u8";
    strmplay::Link* link = &server->GetLink();
    options.linkRateKbps = [link] { return link->RateNowKbps(); };
    std::fprintf(text, "built-in server %s, link %s%s\n", options.url.c_str(),
                 schedule.ToString().c_str(), quick ? " (time compressed 10x)" : "");
    link->Start();
  } else {
    options.capKbps = capKbps;
    if (capKbps > 0) options.linkRateKbps = [capKbps] { return capKbps; };
    std::fprintf(text, "playing %s%s\n", options.url.c_str(),
                 quick ? " (time compressed 10x)" : "");
  }

  strmplay::Player player(options, reporter, trace, output.IsOpen() ? &output : nullptr);
  int exitStatus = player.Run();
  status.Finish();
  if (server) server->Stop();

  std::fputs(strmplay::Reporter::SummaryText(player.Summary()).c_str(), text);
  if (server) {
    const int visits = server->CookieVisitsSeen();
    if (visits > 0) {
      std::fprintf(text,
                   "  cookies: the server's cookie came back (visit %d) under client name %s\n",
                   visits + 1, options.clientName.c_str());
    } else {
      std::fprintf(text, "  cookies: first visit under client name %s\n",
                   options.clientName.c_str());
    }
  }
  if (output.IsOpen()) {
    std::fprintf(text, "  output: %llu bytes of transport stream, %d segments, to %s\n",
                 static_cast<unsigned long long>(output.Bytes()), output.Segments(),
                 output.ToStandardOutput() ? "standard output" : outputPath.c_str());
    if (!output.Close(error) && exitStatus == strmplay::kExitPlayed) {
      std::fprintf(stderr, "strmplay: %s\n", error.c_str());
      exitStatus = strmplay::kExitOutputFailed;
    }
  }
  if (!csvPath.empty() && !trace.WriteCsv(csvPath, error)) {
    std::fprintf(stderr, "strmplay: %s\n", error.c_str());
    return strmplay::kExitOutputFailed;
  }
  if (!svgPath.empty()) {
    const std::string title =
        "strmplay: " + (server ? "built-in sample, link " + schedule.ToString() : options.url);
    if (!trace.WriteSvg(svgPath, title, error)) {
      std::fprintf(stderr, "strmplay: %s\n", error.c_str());
      return strmplay::kExitOutputFailed;
    }
  }
  if (!csvPath.empty()) std::fprintf(text, "trace written to %s\n", csvPath.c_str());
  if (!svgPath.empty()) std::fprintf(text, "plot written to %s\n", svgPath.c_str());
  if (!player.Error().empty()) {
    std::fprintf(stderr, "strmplay: %s (exit status %d)\n", player.Error().c_str(), exitStatus);
  } else if (exitStatus == strmplay::kExitSegmentErrors) {
    std::fprintf(stderr, "strmplay: %d of %d segments were not played (exit status %d)\n",
                 player.Summary().segmentsFailed, player.Summary().segmentsTotal, exitStatus);
  } else if (exitStatus == strmplay::kExitInterrupted) {
    std::fprintf(stderr, "strmplay: stopped by Ctrl-C (exit status %d)\n", exitStatus);
  }
  return exitStatus;
}
