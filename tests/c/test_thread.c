/* Threads and per-thread variables, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/thread.h"

#include <stdlib.h>

/* Written by destroy callbacks on ending threads; read after those threads were joined. */
static int destroyed_sum = 0;
static int destroyed_count = 0;

static void destroy_int(void* value) {
    destroyed_sum += *(int*)value;
    ++destroyed_count;
    free(value);
}

static int* new_int(int value) {
    int* p = (int*)malloc(sizeof *p);
    *p = value;
    return p;
}

/* Destroy callbacks may be deferred past a thread's end; waits for them for a generous time. */
static void wait_for_destroyed(int count) {
    int i;
    for (i = 0; i < 2000 && destroyed_count < count; ++i)
        thr_sleep(10);
}

struct worker_args {
    thr_Variable_ptr variable;
    int value;
    int seen_before;
    int seen_after;
};

static void set_and_end(void* argument) {
    struct worker_args* args = (struct worker_args*)argument;
    args->seen_before = thr_variable_get(args->variable) == NULL ? 0 : 1;
    thr_variable_set(args->variable, new_int(args->value));
    args->seen_after = *(int*)thr_variable_get(args->variable);
}

static void test_values_per_thread(void) {
    thr_Variable_ptr variable = thr_variable_create(destroy_int);
    struct worker_args a;
    struct worker_args b;
    thr_Thread_ptr ta;
    thr_Thread_ptr tb;
    CHECK(variable.obj != NULL);
    destroyed_sum = 0;
    destroyed_count = 0;

    thr_variable_set(variable, new_int(1));
    a.variable = variable;
    a.value = 10;
    b.variable = variable;
    b.value = 100;
    ta = thr_thread_start(set_and_end, &a, "c-worker-a");
    tb = thr_thread_start(set_and_end, &b, "c-worker-b");
    CHECK(ta.obj != NULL && tb.obj != NULL);
    CHECK(thr_thread_join(ta, -1) == 1);
    CHECK(thr_thread_join(tb, -1) == 1);
    thr_thread_destruct(ta);
    thr_thread_destruct(tb);

    /* Each thread started empty and saw its own value; their values went with them. */
    CHECK(a.seen_before == 0 && b.seen_before == 0);
    CHECK(a.seen_after == 10 && b.seen_after == 100);
    wait_for_destroyed(2);
    CHECK(destroyed_count == 2 && destroyed_sum == 110);
    CHECK(*(int*)thr_variable_get(variable) == 1);

    /* Replacing destroys the old value; setting the same value again does not. */
    {
        int* two = new_int(2);
        thr_variable_set(variable, two);
        CHECK(destroyed_count == 3 && destroyed_sum == 111);
        thr_variable_set(variable, two);
        CHECK(destroyed_count == 3);
    }
    /* Taking hands the value over without destroying it. */
    {
        int* taken = (int*)thr_variable_take(variable);
        CHECK(taken != NULL && *taken == 2);
        CHECK(thr_variable_get(variable) == NULL);
        CHECK(destroyed_count == 3);
        free(taken);
    }
    /* Deleting the variable destroys the values still held. */
    thr_variable_set(variable, new_int(1000));
    thr_variable_delete(variable);
    CHECK(destroyed_count == 4 && destroyed_sum == 1111);
}

static void test_variable_without_destroy(void) {
    static int value = 5;
    thr_Variable_ptr variable = thr_variable_create(NULL);
    CHECK(thr_variable_set(variable, &value) == 1);
    CHECK(thr_variable_get(variable) == &value);
    thr_variable_delete(variable);
}

struct loop_args {
    int rounds;
    int stopped;
};

static void loop_until_stopped(void* argument) {
    struct loop_args* args = (struct loop_args*)argument;
    while (!thr_stopRequested(20))
        ++args->rounds;
    args->stopped = 1;
}

static void test_stop_request(void) {
    struct loop_args args;
    thr_Thread_ptr thread;
    args.rounds = 0;
    args.stopped = 0;
    thread = thr_thread_start(loop_until_stopped, &args, "c-loop");
    CHECK(thread.obj != NULL);
    /* Nobody has asked it to stop: a join without waiting finds it running. */
    CHECK(thr_thread_join(thread, 0) == 0);
    CHECK(thr_thread_isRunning(thread) == 1);
    thr_thread_requestStop(thread);
    CHECK(thr_thread_join(thread, -1) == 1);
    CHECK(args.stopped == 1);
    CHECK(thr_thread_isRunning(thread) == 0);
    thr_thread_destruct(thread);

    /* The destruct call asks for the stop itself. */
    args.stopped = 0;
    thread = thr_thread_start(loop_until_stopped, &args, NULL);
    thr_thread_destruct(thread);
    CHECK(args.stopped == 1);

    /* The main thread has no stop source. */
    CHECK(thr_stopRequested(0) == 0);
    CHECK(thr_currentThreadId() != -1);
}

static void test_null_arguments(void) {
    thr_Variable_ptr no_variable;
    thr_Thread_ptr no_thread;
    no_variable.obj = NULL;
    no_thread.obj = NULL;
    ctest_record_assertions();
    ctest_clear_assertions();
    CHECK(thr_variable_set(no_variable, NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "variable.obj");
    CHECK(thr_variable_get(no_variable) == NULL);
    thr_variable_delete(no_variable);
    CHECK(thr_thread_start(NULL, NULL, "x").obj == NULL);
    CHECK_STR(ctest_last_assertion(), "function");
    CHECK(thr_thread_join(no_thread, 0) == 0);
    CHECK_STR(ctest_last_assertion(), "thread.obj");
    CHECK(ctest_assertion_count() == 5);
}

int main(void) {
    test_values_per_thread();
    test_variable_without_destroy();
    test_stop_request();
    test_null_arguments();
    return ctest_finish("thread");
}
