/** \file gnx.h
 * The library for hosts in C11: deployments, files, engines. Everything here may be found by dlsym.
 *
 *     gnx_deployment* site;
 *     gnx_stream* files;
 *     gnx_engine* engine;
 *     gnx_solution solution = {sizeof solution};
 *     gnx_deployment_open("site", &site);
 *     gnx_engine_open(site, NULL, &engine);
 *     gnx_stream_open(names, 4, site, &files);
 *     while (gnx_engine_next(engine, files, &solution) == GNX_OK) ...
 *
 * Every function that can fail returns a gnx_status; gnx_last_error() tells the calling thread what went
 * wrong, with file and line where there is one. No exception leaves a function and none ends the process.
 * Outputs are unchanged when a call fails.
 *
 * Handles are no addresses: one that was closed, or was never opened, is GNX_BAD_HANDLE for ever. Any thread
 * may use any handle; calls with the same one wait for each other. NULL may be closed.
 *
 * Structures begin with their size, which the host sets: sizeof(struct). A library that is newer or older
 * fills and reads what both know; a size that no release had is GNX_BAD_ARGUMENT. Arrays come with the size
 * of an element for the same reason.
 *
 * Units are in the names. Times are GPS time. Texts are UTF-8 and end with a zero byte.
 */
#ifndef GNX_H
#define GNX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum gnx_status {
  GNX_OK = 0,
  GNX_END = 1,           /**< a stream has ended; no error */
  GNX_NO_EPOCH = 2,      /**< the engine did not process the epoch: it is none of the interval; no error */
  GNX_BAD_ARGUMENT = -1, /**< null, a wrong size, an index out of range, text without its end */
  GNX_BAD_HANDLE = -2,   /**< closed, never opened, or of another kind */
  GNX_BAD_ORDER = -3,    /**< choices that do not fit together, calls in the wrong order */
  GNX_BAD_INPUT = -4,    /**< a file is absent, damaged or of the wrong kind */
  GNX_ENGINE_ENDED = -5, /**< the engine ended or could not run; the message holds its last words */
  GNX_NO_MEMORY = -6,
  GNX_FAILED = -7 /**< anything else */
} gnx_status;

/** "GNX_BAD_INPUT"; "" for a number of no status. */
const char* gnx_status_name(int status);
/** What went wrong in the last call of this thread that failed; "" before the first. Valid until the next. */
const char* gnx_last_error(void);
/** "0.1.0" */
const char* gnx_version(void);

typedef struct gnx_time {
  int64_t seconds; /**< since 1970-01-01 of the GPS time scale, no leap seconds */
  double fraction; /**< of a second, 0 to 1 */
} gnx_time;

/* ---- deployments ---- */

typedef struct gnx_deployment gnx_deployment;

typedef struct gnx_deployment_options {
  size_t size;
  const char* systems; /**< letters of G R E C (BeiDou-3) B (BeiDou-2) J; NULL: "GE" */
  const char* antex;   /**< antenna file; NULL: nominal offsets */
  const char* mode;    /**< "static", "kinematic", "dynamic"; NULL: static */
  double interval_s;   /**< 0: 30 */
  double cutoff_deg;   /**< elevation mask; 0: 7 */
  gnx_time date;       /**< of the data, which decides on satellites and antennas; zero: now */
  int32_t
      orbits_to_antenna; /**< 1: orbits refer to the satellites' antennas instead of their centres of mass */
  int32_t no_integers;   /**< 1: ambiguities stay float */
} gnx_deployment_options;

/** Writes a deployment into a directory, which is made. options may be NULL. */
gnx_status gnx_deployment_make(const char* directory, const gnx_deployment_options* options,
                               gnx_deployment** deployment);
gnx_status gnx_deployment_open(const char* directory, gnx_deployment** deployment);
/** What would keep the engine from starting or from fixing integers, one sentence a line.
 * \param text  receives as much as fits, may be NULL when capacity is 0
 * \param needed  bytes of the whole with its end, may be NULL */
gnx_status gnx_deployment_check(gnx_deployment* deployment, char* text, size_t capacity, size_t* needed);
gnx_status gnx_deployment_close(gnx_deployment* deployment);

/* ---- files ---- */

typedef struct gnx_stream gnx_stream;

/** The files of a run, recognised by their content, as one stream of records in order of time.
 * \param deployment  for which corrections are prepared; NULL: none */
gnx_status gnx_stream_open(const char* const* files, size_t count, gnx_deployment* deployment,
                           gnx_stream** stream);
gnx_status gnx_stream_close(gnx_stream* stream);

/* ---- records ---- */

/** One signal of a satellite. Absent values are 0. */
typedef struct gnx_observation {
  char satellite[4]; /**< "G05" */
  char signal[4];    /**< band and attribute, "1C" */
  double phase_cycles, range_m, doppler_hz, snr_dbhz;
  int32_t lock_lost; /**< loss-of-lock indicator of the phase */
} gnx_observation;

/** Keplerian broadcast message; radians, metres, seconds. BeiDou too in GPS time. */
typedef struct gnx_message {
  char satellite[4];
  int32_t iode, iodc, health, accuracy;
  int32_t code; /**< GPS: codes on L2; Galileo: data source bits */
  int32_t l2flag;
  gnx_time toc, toe, transmission; /**< transmission zero: unknown */
  double af[3], crs, delta_n, m0, cuc, e, cus, sqrt_a, cic, omega0, cis, i0, crc, omega, omega_dot, idot;
  double tgd[2];
} gnx_message;

/** GLONASS broadcast message; metres, seconds. */
typedef struct gnx_glonass_message {
  char satellite[4];
  int32_t health, channel, age;
  gnx_time toe, frame;
  double tau, gamma; /**< tau: clock bias with the sign of the clock value */
  double position[3], velocity[3], acceleration[3];
} gnx_glonass_message;

/** Orbit and clock of a satellite, signs of RTCM SSR. */
typedef struct gnx_correction {
  char satellite[4];
  int32_t iod;                     /**< issue of data of the broadcast message */
  double orbit_m[3], orbit_mps[3]; /**< radial, along-track, cross-track, and their rates */
  double clock[3];                 /**< m, m/s, m/s^2 */
} gnx_correction;

/** A signal bias, to be added to the observation. */
typedef struct gnx_bias {
  char satellite[4], signal[4];
  int32_t is_phase;
  int32_t discontinuity; /**< counter of a phase bias, -1: unknown */
  double value_m;
} gnx_bias;

/* ---- engines ---- */

typedef struct gnx_engine gnx_engine;

typedef struct gnx_engine_options {
  size_t size;
  const char* mode;           /**< instead of the deployment's; NULL: that one */
  int32_t in_process;         /**< 0: in a process of its own; 1: in this one, where there is room for one */
  int32_t machine_clock;      /**< 0: the wall clock is the time of the records; 1: the machine's */
  const char* directory;      /**< where the engine leaves its logs; NULL: nowhere */
  const char* output_options; /**< diagnostics, such as "-outres"; NULL: none */
  const char* worker;         /**< executable of the worker; NULL: the installed one */
  const void* state; /**< what gnx_engine_state gave an engine of the same deployment; NULL: nothing */
  size_t state_size; /**< bytes of it */
} gnx_engine_options;

/** What an epoch gave. */
typedef struct gnx_solution {
  size_t size;
  gnx_time time;
  int32_t state;           /**< 0 none, 1 codes, 2 float, 3 and 4 with wide-lanes, 5 fixed */
  int32_t reason;          /**< why it is no higher: the order of gnx::SolutionReason, 0 for a fixed one */
  double position_m[3];    /**< earth-fixed; zeros without one */
  double covariance_m2[9]; /**< by rows */
  int32_t satellites;      /**< used */
  int32_t fixed;           /**< with integers of the last level */
  double ratio, sigma0;
  double gdop, pdop, hdop, vdop;
  double zenith_hydrostatic_m, zenith_wet_m; /**< a priori */
  double zenith_correction_m, zenith_sigma_m;
  double age_orbit_clock_s, age_phase_bias_s, age_code_bias_s; /**< not a number where there are none */
  double milliseconds;                                         /**< of the engine's call */
} gnx_solution;

/** A frequency of a satellite in the epoch of the last solution. */
typedef struct gnx_band {
  char satellite[4], band[4], signal[4];
  int32_t has_ambiguity;
  double azimuth_deg, elevation_deg, snr_dbhz;
  char code_fate[16], phase_fate[16]; /**< "used", "lowelev", ...; "absent" */
  double code_residual_m, phase_residual_m, code_sigma_m, phase_sigma_m; /**< sigma 0: no row of its own */
  double wavelength_m, ambiguity, arc_s;
  double ionosphere_m, ionosphere_sigma_m; /**< slant, of the satellite's first band; not a number: none */
} gnx_band;

/** options may be NULL. The engine starts with the first record that it is fed. */
gnx_status gnx_engine_open(gnx_deployment* deployment, const gnx_engine_options* options,
                           gnx_engine** engine);
/** Feeds the records of a stream up to the next epoch that the engine processes. GNX_END behind the last. */
gnx_status gnx_engine_next(gnx_engine* engine, gnx_stream* stream, gnx_solution* solution);

/** For records of a host's own: what the receiver observes and what corrections there are, before all others.
 * \param first   time of the first epoch, or now: the engine's wall clock starts from it
 * \param types   observation types by system, "G:C1C,L1C,C2W,L2W E:C1C,L1C,C5Q,L5Q"
 * \param biases  signals with code biases in the corrections, "G:1C,2W E:1C,5Q"; NULL: there are none
 * \param antenna 20 characters, NULL: the deployment's  \param position_m  approximate, may be NULL */
gnx_status gnx_engine_start(gnx_engine* engine, gnx_time first, const char* types, const char* biases,
                            const char* antenna, const double* position_m);
gnx_status gnx_engine_feed_message(gnx_engine* engine, const gnx_message* message, size_t element_size);
gnx_status gnx_engine_feed_glonass(gnx_engine* engine, const gnx_glonass_message* message,
                                   size_t element_size);
/** Orbits, clocks and biases of one moment; biases, when there are any, are a full new set. */
gnx_status gnx_engine_feed_corrections(gnx_engine* engine, gnx_time delivery, gnx_time tag,
                                       const gnx_correction* corrections, size_t correction_size,
                                       size_t correction_count, const gnx_bias* biases, size_t bias_size,
                                       size_t bias_count);
/** GNX_NO_EPOCH when the engine did not process it. */
gnx_status gnx_engine_feed_epoch(gnx_engine* engine, gnx_time time, const gnx_observation* observations,
                                 size_t element_size, size_t count, gnx_solution* solution);

/* ---- integers ---- */

/** Which integers a host's own corrections carry: a stream of files judges that by itself. A judge gets the
 * records that the engine gets, ten minutes of observations at least, and tells the engine. Before that an
 * engine may be left float with the output option "-float". */
typedef struct gnx_judge gnx_judge;

/** What the host knows about its corrections. */
typedef struct gnx_correction_facts {
  size_t size;
  const char *orbits, *clocks, *phase_biases; /**< whose solution they are, "GRG"; NULL: not known. Different
                                                   ones carry no integers */
  int32_t mixed;                              /**< 1: integers even so */
  int32_t broadcast_clocks;                   /**< 1: clocks are those of broadcast messages */
  int32_t without_offsets; /**< 1: where observations do not tell, phase biases know no antenna offsets */
  double clock_interval_s; /**< above 60 integers are resolved at the epochs of the clocks alone */
  const gnx_time* clock_epochs; /**< of such clocks, in order */
  size_t clock_epoch_count;
} gnx_correction_facts;

/** Arguments: see gnx_engine_start. */
gnx_status gnx_judge_open(gnx_deployment* deployment, gnx_time first, const char* types, const char* biases,
                          const double* position_m, gnx_judge** judge);
gnx_status gnx_judge_feed_message(gnx_judge* judge, const gnx_message* message, size_t element_size);
gnx_status gnx_judge_feed_biases(gnx_judge* judge, gnx_time tag, const gnx_bias* biases, size_t element_size,
                                 size_t count);
gnx_status gnx_judge_feed_epoch(gnx_judge* judge, gnx_time time, const gnx_observation* observations,
                                size_t element_size, size_t count);
/** Holds the engine to the judgement by all that was fed so far, from its next epoch on; satellites that are
 * left float, from its next set of biases on. \param facts  NULL: nothing is known \param text  the remarks,
 * one sentence a line; see gnx_deployment_check */
gnx_status gnx_engine_obey(gnx_engine* engine, gnx_judge* judge, const gnx_correction_facts* facts,
                           char* text, size_t capacity, size_t* needed);
gnx_status gnx_judge_close(gnx_judge* judge);

/* ---- solutions ---- */

/** The frequencies of the satellites of the last solution.
 * \param bands  room for capacity elements, may be NULL when that is 0  \param count  how many there are */
gnx_status gnx_engine_bands(gnx_engine* engine, gnx_band* bands, size_t element_size, size_t capacity,
                            size_t* count);
/** Why the last solution has no higher state, a sentence; see gnx_deployment_check for the arguments. */
gnx_status gnx_engine_why(gnx_engine* engine, char* text, size_t capacity, size_t* needed);
/** What the engine knows between two epochs, for one that goes on within five minutes: ambiguities, position,
 * zenith delay. It is fed its own messages, corrections and biases, and its first epoch shows which arcs
 * hold. GNX_BAD_ORDER before the first epoch. \param bytes  room for capacity bytes, which are filled when
 * all fit, may be NULL when that is 0  \param needed  how many there are */
gnx_status gnx_engine_state(gnx_engine* engine, void* bytes, size_t capacity, size_t* needed);
/** What became of the state that the engine was opened with, a sentence; "" before its first epoch. See
 * gnx_deployment_check for the arguments. */
gnx_status gnx_engine_resumed(gnx_engine* engine, char* text, size_t capacity, size_t* needed);
/** Empties the filter; configuration and products stay. */
gnx_status gnx_engine_restart(gnx_engine* engine);
/** Ends the engine in order; gnx_engine_close does it too. */
gnx_status gnx_engine_finish(gnx_engine* engine);
gnx_status gnx_engine_close(gnx_engine* engine);

#ifdef __cplusplus
}
#endif

#endif
