/* A host in C: the files of a station in, the last position out.
 *
 *   gcc -std=c11 c_host.c $(pkg-config --cflags --libs gnx) -o c_host
 *   ./c_host site observations.rnx navigation.rnx corrections.ssr      # site: made by "gnx init site"
 */
#include <gnx.h>
#include <stdio.h>
#include <stdlib.h>

static void check(gnx_status status) {
  if (status >= 0) return;
  fprintf(stderr, "%s: %s\n", gnx_status_name(status), gnx_last_error());
  exit(1);
}

int main(int argc, char** argv) {
  gnx_deployment* site = NULL;
  gnx_stream* files = NULL;
  gnx_engine* engine = NULL;
  gnx_solution solution = {.size = sizeof solution};
  gnx_status status;
  if (argc < 3) return fprintf(stderr, "usage: c_host SITE FILE...\n"), 2;
  check(gnx_deployment_open(argv[1], &site));
  check(gnx_stream_open((const char* const*)(argv + 2), (size_t)argc - 2, site, &files));
  check(gnx_engine_open(site, NULL, &engine));
  while ((status = gnx_engine_next(engine, files, &solution)) == GNX_OK) continue;
  check(status);
  printf("%.4f %.4f %.4f %s\n", solution.position_m[0], solution.position_m[1], solution.position_m[2],
         solution.state == 5 ? "fixed" : "float");
  check(gnx_engine_close(engine));
  check(gnx_stream_close(files));
  check(gnx_deployment_close(site));
  return 0;
}
