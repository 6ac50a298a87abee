/* The request engine: callers reserve it, publish and wait; the listener records replies.

   Modelled (camera_repeater/velmar_udp/lcm_request.cpp):
     caller     get_ready, send_and_wait with send_ctrl_cam and wait_for_reply
     listener   receive_msg, for replies of the camera and for strays: replies that nobody asked
                for or that come twice, of any code, at any moment
   The bus keeps the order of the camera's replies. A slow camera is a reply that the listener takes
   late, perhaps after the time-out of its request; a silent one is a reply that never comes.

   `mutex` is LcmRequest::_mutex, READY is _lcm_ready_cond, RESPONSE is _lcm_response_cond. Every
   function holds the mutex from its begin to its end, but for the waits, and receive_msg notifies
   after giving it back; so a step is a stretch with the mutex held, or the notify. Time has no
   length: a wait with a time-out may end at any moment. Of several replies with the code of the
   request that waits, the model lets the first count or a later one.

   Switches: CALLERS, REQUESTS of each, STRAYS, SPURIOUS_WAKE_UPS;
   NO_TIMEOUTS: no wait but that of caller 0 for its turn ever times out, and the camera answers
   always, so that a wake-up that is lost leaves a caller waiting for ever;
   OVERWRITE: a foreign reply overwrites a recorded one, as it once did;
   BREAK: a fault put in on purpose, to see that it is found. */

#ifndef CALLERS
#define CALLERS 2
#endif
#ifndef REQUESTS
#define REQUESTS 2
#endif
#ifndef STRAYS
#define STRAYS 1
#endif
#ifndef BREAK
#define BREAK 0
#endif

/* The properties. */
#define ONE_OWNER 1      /* one caller at a time has the engine */
#define CONSISTENT 2     /* a request finds the engine as it left it: no CRITICAL line */
#define BUSY_IS_TRUE 3   /* a caller is refused only while another's request runs */
#define HAPPENED 4       /* what is no time-out is the result of a reply with the request's code */
#define OWN_REPLY_KEPT 5 /* a reply with its code, recorded while a request waits, is its result */
#define IDLE_AGAIN 6     /* in the end nobody waits and the engine is idle */
#define FRESH 7          /* weakness: no reply to an earlier request answers this one */

#define THREADS CALLERS
#include "threads.pml"

#define READY 1
#define RESPONSE 2

#define NO_CODE 0
#define SUCCESS 0
#define CAMERA_ERROR 5
#define TIMED_OUT 26
#define NEVER 255
#define bit_of(result) (result == SUCCESS -> 1 : 2)
#define NO_REQUEST 0
#define LISTENER 100     /* holds the mutex as a caller does */

/* LcmRequest's members. */
bool busy;               /* _state */
byte sent = NO_CODE;     /* _last_cmd_type_sent */
byte received = NO_CODE; /* _last_cmd_type_received */
byte err = NEVER;        /* m_err_code */

/* What the properties speak of. */
byte owner = NOBODY;
byte pending = NO_REQUEST;   /* the number of the request that waits */
byte answered = NO_REQUEST;  /* the request that the recorded reply was made for */
byte own_results;            /* in replies with the waiting request's code: a bit each */
byte finished;               /* callers */
byte published;              /* requests */

chan replies = [CALLERS * REQUESTS] of { byte, byte };  /* code, number of the request */

/* Requests are told apart only where it matters: it multiplies the states. */
#if ONLY == FRESH
#define NUMBER_OF_NEXT (published + 1)
#else
#define NUMBER_OF_NEXT 1
#endif

#ifdef NO_TIMEOUTS
#define TURN_MAY_TIME_OUT (me == 0)
#define REPLY_MAY_TIME_OUT false
#define MAY_STAY_SILENT false
#else
#define TURN_MAY_TIME_OUT true
#define REPLY_MAY_TIME_OUT true
#define MAY_STAY_SILENT true
#endif

inline choose_code(code) { if :: code = 1 :: code = 2 fi }
inline choose_result(result) { if :: result = SUCCESS :: result = CAMERA_ERROR fi }

/* Waits once: until a notify, for no reason, or to the time-out. */
inline wait(condition, may_time_out) {
  begin_wait(condition);
  atomic {
    if
    :: waiting_on[me] == NOT_WAITING
    :: waiting_on[me] != NOT_WAITING && spurious_wake_ups > 0 ->
       spurious_wake_ups--;
       waiting_on[me] = NOT_WAITING
    :: waiting_on[me] != NOT_WAITING && may_time_out ->
       waiting_on[me] = NOT_WAITING;
       timed_out = true
    fi
  }
  lock()
}

proctype caller(byte me) {
  byte left = REQUESTS;
  byte code;
  byte number;
  bool timed_out;

next:
  atomic {
    timed_out = false;
    code = NO_CODE;
    number = NO_REQUEST;
    if
    :: left == 0 -> finished++; goto done
    :: else -> left--
    fi
  }

  /* get_ready */
  lock();
  do
  :: !busy || timed_out -> break
  :: else ->
     wait(READY, TURN_MAY_TIME_OUT);
#if BREAK == 3
     break  /* without looking again */
#endif
  od;
  atomic {
    if
    :: busy && BREAK != 3 ->
       prove(BUSY_IS_TRUE, owner != NOBODY && owner != me);
       printf("caller %d: refused, the engine is busy\n", me);
       mutex = NOBODY;
       goto next
    :: else
    fi;
    prove(ONE_OWNER, owner == NOBODY);
    printf("caller %d: has the engine\n", me);
    owner = me;
    busy = true;
    timed_out = false;
    mutex = NOBODY
  }

  /* send_and_wait */
  lock();
  atomic {
    choose_code(code);
    number = NUMBER_OF_NEXT;
    published++;
    pending = number;
    sent = code;
    printf("caller %d: sends request %d, code %d\n", me, number, code);
    if
    :: replies ! code, number
    :: MAY_STAY_SILENT
    fi
  }
  do
  :: received == code || timed_out -> break
  :: else -> wait(RESPONSE, REPLY_MAY_TIME_OUT)
  od;
  atomic {
    if
    :: received != code ->
       printf("caller %d: request %d has timed out\n", me, number);
       prove(OWN_REPLY_KEPT, own_results == 0);
       err = TIMED_OUT
    :: else ->
       printf("caller %d: request %d ends with result %d\n", me, number, err);
       prove(OWN_REPLY_KEPT, own_results == 0 || (own_results & bit_of(err)) != 0);
       prove(HAPPENED, err == SUCCESS || err == CAMERA_ERROR);
       prove(CONSISTENT, sent == code);
       weakness(FRESH, answered == number)
    fi;
    prove(CONSISTENT, busy && owner == me);
    busy = (BREAK == 4 && err == TIMED_OUT);
    sent = NO_CODE;
    received = NO_CODE;
    err = NEVER;  /* must be written before it is read again */
    owner = NOBODY;
    pending = NO_REQUEST;
    answered = NO_REQUEST;
    own_results = 0
  }
#if BREAK != 2
  notify_one(READY);
#endif
  unlock();
  goto next;

done:
  skip
}

active proctype listener() {
  byte me = LISTENER;
  byte strays = STRAYS;
  byte code;
  byte number;
  byte result;

end:
  atomic {
    if
    :: replies ? code, number
    :: strays > 0 -> strays--; choose_code(code)
    fi;
    choose_result(result)
  }
  lock();
  atomic {
    if
    :: !busy ->
       printf("listener: nobody waits for code %d\n", code);
       code = NO_CODE; number = NO_REQUEST; result = SUCCESS;
       mutex = NOBODY;
       goto end
    :: else
    fi;
    if
    :: pending != NO_REQUEST && code == sent -> own_results = own_results | bit_of(result)
    :: else
    fi;
    if
#ifndef OVERWRITE
    :: received == sent && sent != NO_CODE ->
       printf("listener: takes code %d and keeps the reply that it has\n", code)
    :: received != sent || sent == NO_CODE || code == sent ->
#else
    :: true ->
#endif
       if
       :: number == NO_REQUEST ->
          printf("listener: records code %d, result %d, a stray\n", code, result)
       :: else ->
          printf("listener: records code %d, result %d, of request %d\n", code, result, number)
       fi;
       received = code;
       err = result;
       answered = number
    fi;
    code = NO_CODE; number = NO_REQUEST; result = SUCCESS;
    mutex = NOBODY
  }
#if BREAK != 1
  notify_one(RESPONSE);
#endif
  goto end
}

init {
  byte i = 0;
  atomic {
    do
    :: i < CALLERS -> run caller(i); i++
    :: else -> break
    od
  }
  timeout;  /* nothing moves any more */
  prove(IDLE_AGAIN, finished == CALLERS);
  prove(IDLE_AGAIN, !busy && sent == NO_CODE && received == NO_CODE && mutex == NOBODY)
}
