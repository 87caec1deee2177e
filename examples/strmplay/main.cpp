// strmplay: plays an HLS stream through libstrmcommon, the way a playback engine drives it.
// With no URL it serves the sample stream that ships with it from a loopback server whose rate
// changes over time, so that the adaptive switching can be watched.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "LoopbackServer.h"
#include "Player.h"
#include "RateSchedule.h"
#include "StatusLine.h"
#include "Trace.h"

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
               "  --help\n",
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
  std::string csvPath, svgPath, sampleDir = STRMPLAY_SAMPLE_DIR;
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
      if (!NeedValue(i, argc, argv[i])) return 2;
      scheduleText = argv[++i];
    } else if (arg == "--cap") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      capKbps = std::atoi(argv[++i]);
      if (capKbps <= 0) {
        std::fprintf(stderr, "strmplay: --cap wants a positive kbit/s value\n");
        return 2;
      }
    } else if (arg == "--csv") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      csvPath = argv[++i];
    } else if (arg == "--svg") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      svgPath = argv[++i];
    } else if (arg == "--client-name") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      options.clientName = argv[++i];
      if (options.clientName.empty() || options.clientName.find('/') != std::string::npos) {
        std::fprintf(stderr, "strmplay: --client-name wants a plain name\n");
        return 2;
      }
    } else if (arg == "--start") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      options.startVariant = std::atoi(argv[++i]);
    } else if (arg == "--max-buffer") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      options.maxBufferSeconds = std::atof(argv[++i]);
      if (options.maxBufferSeconds < 2.0) {
        std::fprintf(stderr, "strmplay: --max-buffer wants at least 2 seconds\n");
        return 2;
      }
    } else if (arg == "--duration") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      options.maxMediaSeconds = std::atof(argv[++i]);
      if (options.maxMediaSeconds <= 0.0) {
        std::fprintf(stderr, "strmplay: --duration wants a positive number of seconds\n");
        return 2;
      }
    } else if (arg == "--sample") {
      if (!NeedValue(i, argc, argv[i])) return 2;
      sampleDir = argv[++i];
    } else if (!arg.empty() && arg[0] == '-') {
      std::fprintf(stderr, "strmplay: unknown option %s\n", arg.c_str());
      Usage(stderr);
      return 2;
    } else if (options.url.empty()) {
      options.url = arg;
    } else {
      std::fprintf(stderr, "strmplay: one URL only\n");
      return 2;
    }
  }
  // The library logs through the platform's log service; keep it off the terminal unless asked.
  if (!options.verbose) setenv("DLOG_STUB_LEVEL", "S", 0);
  options.timeScale = quick ? kQuickScale : 1.0;

  strmplay::RateSchedule schedule;
  std::string error;
  if (!schedule.Parse(scheduleText, error)) {
    std::fprintf(stderr, "strmplay: %s\n", error.c_str());
    return 2;
  }
  schedule.SetCap(capKbps);

  strmplay::StatusLine status(stdout);
  strmplay::Trace trace;
  std::unique_ptr<strmplay::LoopbackServer> server;
  if (options.url.empty()) {
    server = std::make_unique<strmplay::LoopbackServer>(schedule, options.timeScale);
    if (!server->Load(sampleDir, error) || !server->Start(error)) {
      std::fprintf(stderr, "strmplay: built-in server: %s\n", error.c_str());
      return 1;
    }
    options.url = server->BaseUrl() + "master.m3u8";
    strmplay::Link* link = &server->GetLink();
    options.linkRateKbps = [link] { return link->RateNowKbps(); };
    std::printf("built-in server %s, link %s%s\n", options.url.c_str(), schedule.ToString().c_str(),
                quick ? " (time compressed 10x)" : "");
    link->Start();
  } else {
    options.capKbps = capKbps;
    if (capKbps > 0) options.linkRateKbps = [capKbps] { return capKbps; };
    std::printf("playing %s%s\n", options.url.c_str(), quick ? " (time compressed 10x)" : "");
  }

  strmplay::Player player(options, status, trace);
  const bool ok = player.Run(error);
  status.Finish();
  if (server) server->Stop();
  if (!ok) {
    std::fprintf(stderr, "strmplay: %s\n", error.c_str());
    return 1;
  }

  const strmplay::PlayerSummary& s = player.Summary();
  std::printf("\nsummary\n");
  std::printf("  segments fetched: %d/%d (failed %d, encrypted %d)\n", s.segmentsFetched,
              s.segmentsTotal, s.segmentsFailed, s.encryptedSegments);
  std::printf("  played: %.1f s of media in %.1f s (startup %.1f s)\n", s.mediaSeconds,
              s.runSeconds, s.startupSeconds);
  std::printf("  rebuffering: %.1f s in %d stalls\n", s.rebufferSeconds, s.stalls);
  std::printf("  average bitrate: %.0f kbit/s\n", s.averageBitrateKbps);
  std::printf("  switches: %d (up %d, down %d)\n", s.switchesUp + s.switchesDown, s.switchesUp,
              s.switchesDown);
  std::printf("  bytes: %llu (media %llu, playlists/keys/probes %llu)\n",
              static_cast<unsigned long long>(s.mediaBytes + s.otherBytes),
              static_cast<unsigned long long>(s.mediaBytes),
              static_cast<unsigned long long>(s.otherBytes));
  std::string errors;
  for (const auto& e : s.errors) {
    errors +=
        (errors.empty() ? "" : ", ") + std::to_string(e.first) + " x" + std::to_string(e.second);
  }
  if (s.decryptFailures > 0) {
    errors += (errors.empty() ? "" : ", ") + std::string("decryption x") +
              std::to_string(s.decryptFailures);
  }
  std::printf("  errors by code: %s\n", errors.empty() ? "none" : errors.c_str());
  for (std::size_t i = 0; i < s.variants.size(); ++i) {
    const auto& v = s.variants[i];
    std::printf("  resolution v%zu: %dx%d (playlist %dx%d, %d kbit/s, %d segments played)\n", i,
                v.width, v.height, v.declaredWidth, v.declaredHeight, v.bandwidth / 1000,
                v.segments);
  }
  if (server) {
    const int visits = server->CookieVisitsSeen();
    if (visits > 0) {
      std::printf("  cookies: the server's cookie came back (visit %d) under client name %s\n",
                  visits + 1, options.clientName.c_str());
    } else {
      std::printf("  cookies: first visit under client name %s\n", options.clientName.c_str());
    }
  }

  if (!csvPath.empty() && !trace.WriteCsv(csvPath, error)) {
    std::fprintf(stderr, "strmplay: %s\n", error.c_str());
    return 1;
  }
  if (!svgPath.empty()) {
    const std::string title =
        "strmplay: " + (server ? "built-in sample, link " + schedule.ToString() : options.url);
    if (!trace.WriteSvg(svgPath, title, error)) {
      std::fprintf(stderr, "strmplay: %s\n", error.c_str());
      return 1;
    }
  }
  if (!csvPath.empty()) std::printf("trace written to %s\n", csvPath.c_str());
  if (!svgPath.empty()) std::printf("plot written to %s\n", svgPath.c_str());
  return s.segmentsFetched == s.segmentsTotal && s.decryptFailures == 0 ? 0 : 1;
}
