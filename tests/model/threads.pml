/* A mutex and condition variables as the threads of the two models use them.

   One step of a model is what a thread does between two points where another may come in: taking
   the mutex, giving it back, waiting, waking, receiving. What is read and written with the mutex
   held therefore stands in one atomic step with it only where nothing outside the mutex can see
   the difference. */

#define NOBODY 255
#define NOT_WAITING 0

byte mutex = NOBODY;       /* who holds it */
byte waiting_on[THREADS];  /* the condition that a thread waits on */

inline lock() { atomic { mutex == NOBODY -> mutex = me } }

inline try_lock(taken) {
  atomic {
    taken = (mutex == NOBODY);
    if :: taken -> mutex = me :: else fi
  }
}

inline unlock() {
  d_step {
    assert(mutex == me);
    mutex = NOBODY
  }
}

/* Gives the mutex back and waits in one step, as a condition variable does. */
inline begin_wait(condition) {
  d_step {
    assert(mutex == me);
    waiting_on[me] = condition;
    mutex = NOBODY
  }
}

/* Wakes any one of the threads that wait on the condition; without one it is lost. */
inline notify_one(condition) {
  atomic {
    if
    :: waiting_on[0] == condition -> waiting_on[0] = NOT_WAITING
#if THREADS > 1
    :: waiting_on[1] == condition -> waiting_on[1] = NOT_WAITING
#endif
#if THREADS > 2
    :: waiting_on[2] == condition -> waiting_on[2] = NOT_WAITING
#endif
    :: else
    fi
  }
}

/* A condition variable may wake a thread without a reason, this often in a run. */
#ifndef SPURIOUS_WAKE_UPS
#define SPURIOUS_WAKE_UPS 0
#endif
byte spurious_wake_ups = SPURIOUS_WAKE_UPS;

/* A property of the model, by its number: all are proven unless ONLY names one. What does not hold
   is a weakness, and looked at only when it is named. */
#ifndef ONLY
#define ONLY 0
#endif
#define prove(property, condition) assert((ONLY && ONLY != property) || (condition))
#define weakness(property, condition) assert(ONLY != property || (condition))
