/* Loaded into a compositor by LD_PRELOAD: gives the outputs of wlroots' headless back end what only those of real
 * hardware have, a gamma table, being switched off, and being plugged in and pulled out.
 *
 * In the folder that NOCTA_TEST_GAMMA names, the file "size" says how many entries a channel has at this moment; if it
 * is missing at the start, the compositor knows no gamma control at all. The file named after an output is the table
 * that it shows, as 16-bit numbers, red, green and blue after each other; empty or missing while it shows its own.
 *
 * SIGUSR2 plugs an output in, SIGUSR1 pulls the newest one out, if it is not the only one. SIGWINCH ends the
 * connections of all clients that have the control of a table. */

#define _GNU_SOURCE
#define WLR_USE_UNSTABLE

#include <dlfcn.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wlr/backend/headless.h>
#include <wlr/interfaces/wlr_output.h>
#ifdef NOCTA_WLROOTS_TRANSFORMS_COLORS
#include <wlr/render/color.h>
#endif
#include <wlr/types/wlr_gamma_control_v1.h>

enum { most_outputs = 64, output_width = 1280, output_height = 800 };

static struct wlr_output *outputs[most_outputs];
static int output_count;
static struct wlr_gamma_control_manager_v1 *gamma_manager;

static const char *folder(void) {
    const char *name = getenv("NOCTA_TEST_GAMMA");
    return name != NULL ? name : ".";
}

static size_t gamma_size(struct wlr_output *output) {
    (void)output;
    char path[512];
    snprintf(path, sizeof path, "%s/size", folder());
    FILE *file = fopen(path, "r");
    unsigned long size = 0;
    if (file != NULL) {
        if (fscanf(file, "%lu", &size) != 1) {
            size = 0;
        }
        fclose(file);
    }
    return size;
}

#ifdef NOCTA_WLROOTS_TRANSFORMS_COLORS
enum { state_gamma = WLR_OUTPUT_STATE_COLOR_TRANSFORM };

static void write_table(FILE *file, const struct wlr_output_state *state, size_t size) {
    for (size_t channel = 0; channel < 3 && state->color_transform != NULL; ++channel) {
        for (size_t entry = 0; entry < size; ++entry) {
            const float input = size > 1 ? (float)entry / (float)(size - 1) : 0;
            const float colour[3] = {input, input, input};
            float result[3];
            wlr_color_transform_eval(state->color_transform, result, colour);
            const uint16_t level = (uint16_t)(result[channel] * 65535.0F + 0.5F);
            fwrite(&level, sizeof level, 1, file);
        }
    }
}
#else
enum { state_gamma = WLR_OUTPUT_STATE_GAMMA_LUT };

static void write_table(FILE *file, const struct wlr_output_state *state, size_t size) {
    (void)size;
    fwrite(state->gamma_lut, sizeof(uint16_t), 3 * state->gamma_lut_size, file);
}
#endif

static void record(struct wlr_output *output, const struct wlr_output_state *state) {
    char path[512];
    char unfinished[520];
    snprintf(path, sizeof path, "%s/%s", folder(), output->name);
    snprintf(unfinished, sizeof unfinished, "%s.new", path);
    FILE *file = fopen(unfinished, "w");
    if (file == NULL) {
        return;
    }
    write_table(file, state, gamma_size(output));
    fclose(file);
    rename(unfinished, path);
}

#ifdef NOCTA_WLROOTS_HANDS_STATES
static bool (*commit_headless)(struct wlr_output *output, const struct wlr_output_state *state);
static bool (*test_headless)(struct wlr_output *output, const struct wlr_output_state *state);

static struct wlr_output_state without_gamma(const struct wlr_output_state *state) {
    struct wlr_output_state rest = *state;
    rest.committed &= ~(uint32_t)state_gamma;
    return rest;
}

static bool test(struct wlr_output *output, const struct wlr_output_state *state) {
    const struct wlr_output_state rest = without_gamma(state);
    return test_headless == NULL || test_headless(output, &rest);
}

static bool commit(struct wlr_output *output, const struct wlr_output_state *state) {
    const struct wlr_output_state rest = without_gamma(state);
    const bool succeeded = commit_headless(output, &rest);
    if (succeeded && (state->committed & state_gamma) != 0) {
        record(output, state);
    }
    return succeeded;
}
#else
static bool (*commit_headless)(struct wlr_output *output);

static bool commit(struct wlr_output *output) {
    const uint32_t ours = state_gamma | WLR_OUTPUT_STATE_ENABLED;
    const uint32_t taken = output->pending.committed & ours;
    output->pending.committed &= ~ours;
    const bool succeeded = commit_headless(output);
    output->pending.committed |= taken;
    if (succeeded && (taken & WLR_OUTPUT_STATE_ENABLED) != 0) {
        wlr_output_update_enabled(output, output->pending.enabled);
    }
    if (succeeded && (taken & state_gamma) != 0) {
        record(output, &output->pending);
    }
    return succeeded;
}
#endif

/* sway has one more for itself, with a name of its own, for when there is no other. */
static bool is_pluggable(const struct wlr_output *output) {
    return strncmp(output->name, "HEADLESS-", strlen("HEADLESS-")) == 0;
}

static int pull_out(int signal_number, void *data) {
    (void)signal_number;
    (void)data;
    int newest = output_count - 1;
    while (newest >= 0 && !is_pluggable(outputs[newest])) {
        --newest;
    }
    if (newest > 0) {
        struct wlr_output *pulled = outputs[newest];
        memmove(&outputs[newest], &outputs[newest + 1], sizeof *outputs * (size_t)(--output_count - newest));
        wlr_output_destroy(pulled);
    }
    return 0;
}

static int plug_in(int signal_number, void *data) {
    (void)signal_number;
    (void)data;
    int first = 0;
    while (first < output_count && !is_pluggable(outputs[first])) {
        ++first;
    }
    if (first < output_count) {
        wlr_headless_add_output(outputs[first]->backend, output_width, output_height);
    }
    return 0;
}

static int end_clients(int signal_number, void *data) {
    (void)signal_number;
    (void)data;
    struct wlr_gamma_control_v1 *control;
    if (gamma_manager != NULL) {
        wl_list_for_each(control, &gamma_manager->controls, link) {
            wl_resource_post_error(control->resource, 0, "told to by a test");
        }
    }
    return 0;
}

/* The back end's description of itself is constant. */
static void give_gamma(const struct wlr_output_impl *implementation) {
    const uintptr_t page = (uintptr_t)sysconf(_SC_PAGESIZE);
    const uintptr_t start = (uintptr_t)implementation & ~(page - 1);
    const uintptr_t end = ((uintptr_t)implementation + sizeof *implementation + page - 1) & ~(page - 1);
    if (mprotect((void *)start, end - start, PROT_READ | PROT_WRITE) != 0) {
        perror("headless gamma");
        abort();
    }
    struct wlr_output_impl *writable = (struct wlr_output_impl *)implementation;
    commit_headless = writable->commit;
    writable->commit = commit;
#ifdef NOCTA_WLROOTS_HANDS_STATES
    test_headless = writable->test;
    writable->test = test;
#endif
    writable->get_gamma_size = gamma_size;
}

struct wlr_gamma_control_manager_v1 *wlr_gamma_control_manager_v1_create(struct wl_display *display) {
    struct wlr_gamma_control_manager_v1 *(*create)(struct wl_display *);
    *(void **)&create = dlsym(RTLD_NEXT, "wlr_gamma_control_manager_v1_create");
    gamma_manager = create(display);
    char path[512];
    snprintf(path, sizeof path, "%s/size", folder());
    if (gamma_manager != NULL && access(path, F_OK) != 0) {
        /* The compositor relies on having one: hide it from clients. */
        wl_global_remove(gamma_manager->global);
    }
    return gamma_manager;
}

struct wlr_output *wlr_headless_add_output(struct wlr_backend *backend, unsigned int width, unsigned int height) {
    (void)width;
    (void)height;
    struct wlr_output *(*add)(struct wlr_backend *, unsigned int, unsigned int);
    *(void **)&add = dlsym(RTLD_NEXT, "wlr_headless_add_output");
    return add(backend, output_width, output_height);
}

static void did_init(struct wlr_output *output, struct wl_event_loop *loop) {
    if (output_count == 0) {
        wl_event_loop_add_signal(loop, SIGUSR1, pull_out, NULL);
        wl_event_loop_add_signal(loop, SIGUSR2, plug_in, NULL);
        wl_event_loop_add_signal(loop, SIGWINCH, end_clients, NULL);
    }
    if (output_count < most_outputs) {
        outputs[output_count++] = output;
    }
}

#ifdef NOCTA_WLROOTS_HANDS_STATES
void wlr_output_init(struct wlr_output *output, struct wlr_backend *backend,
                     const struct wlr_output_impl *implementation, struct wl_event_loop *loop,
                     const struct wlr_output_state *state) {
    if (implementation->get_gamma_size == NULL) {
        give_gamma(implementation);
    }
    void (*init)(struct wlr_output *, struct wlr_backend *, const struct wlr_output_impl *, struct wl_event_loop *,
                 const struct wlr_output_state *);
    *(void **)&init = dlsym(RTLD_NEXT, "wlr_output_init");
    init(output, backend, implementation, loop, state);
    did_init(output, loop);
}
#else
void wlr_output_init(struct wlr_output *output, struct wlr_backend *backend,
                     const struct wlr_output_impl *implementation, struct wl_display *display) {
    if (implementation->get_gamma_size == NULL) {
        give_gamma(implementation);
    }
    void (*init)(struct wlr_output *, struct wlr_backend *, const struct wlr_output_impl *, struct wl_display *);
    *(void **)&init = dlsym(RTLD_NEXT, "wlr_output_init");
    init(output, backend, implementation, display);
    did_init(output, wl_display_get_event_loop(display));
}
#endif
