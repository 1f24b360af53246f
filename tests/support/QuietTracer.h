#ifndef TESTS_SUPPORT_QUIETTRACER_H
#define TESTS_SUPPORT_QUIETTRACER_H

// Points the process tracer at a private configuration with "DebugLevel" 0, so fuzz targets
// and benchmarks that run millions of frames write no trace lines.
void QuietTracer();

#endif
