/* The UDP service's hand-over: one thread receives and checks, the other executes and replies.

   Modelled (camera_repeater/velmar_udp/velmar_udp_master_k720.cpp, _commands.cpp):
     receiver   receive_commands_from_apps: receive_message, take_mutex, the check, udp_produce,
                udp_sendsignal, error_info_to_apps
     processor  process_commands_from_apps: udp_waitsignal, process_camera_functions, udp_consume,
                send_to_client
   DATAGRAMS come at any moments, each of a sender of its own.

   `mutex` is UdpMasterK720::m_mutex, COMMAND is m_cond. The lock of the slot and of the peer's
   address is a leaf, held for one copy: such a copy is a step. What is done under one hold of
   `mutex` is one step but for what the other thread sees without it: the slot, the peer's address,
   m_unanswered, and what goes out.

   A packet is two cells, what arrives first and the rest, and passes the check when both hold the
   same command. A short datagram brings the first alone: behind it stands what the slot held.

   Switches: DATAGRAMS; QUEUE, the packets that may wait; SPURIOUS_WAKE_UPS;
   ONE_SLOT: the hand-over as it once was: no queue, what is executed is what the slot holds by then,
   and whoever does not get the mutex at once is refused;
   SHORT: short datagrams come too;
   BREAK: a fault put in on purpose, to see that it is found. */

#ifndef DATAGRAMS
#define DATAGRAMS 4
#endif
#ifndef QUEUE
#define QUEUE 2
#endif
#ifndef BREAK
#define BREAK 0
#endif

/* The properties. */
#define CHECKED 1      /* what is executed has passed the check */
#define ONCE 2         /* what passed the check and was not refused is executed, once */
#define ANSWERED 3     /* each datagram is answered, once */
#define BUSY_IS_TRUE 4 /* "busy" is answered only while a command runs or waits */
#define IDLE_AGAIN 5   /* in the end both threads wait for more, and no command waits */
#define OWN_SENDER 6   /* weakness: the reply goes to the sender of its command */
#define WHOLE 7        /* weakness: what is executed came in one datagram */

#define THREADS 2
#include "threads.pml"

#define RECEIVER 0
#define PROCESSOR 1
#define COMMAND 1

#define NOTHING 0
#define BAD 9

/* UdpMasterK720's members. */
byte slot_first = NOTHING; /* m_camctr_msg */
byte slot_rest = NOTHING;
byte peer;                 /* m_peer_client_addr */
byte count;                /* m_count */
byte unanswered;           /* m_unanswered */
#ifndef ONE_SLOT
chan waiting = [QUEUE] of { byte };  /* m_waiting: the numbers of the packets for their copies */
#endif

/* What the properties speak of. Datagrams and their senders are numbered from 1. */
byte received;             /* datagrams */
byte in_slot;              /* the datagram that came last */
byte handled;              /* datagrams that the receiver is done with */
bool accepted[DATAGRAMS + 1];
bool whole[DATAGRAMS + 1];
byte executions[DATAGRAMS + 1];
byte answers[DATAGRAMS + 1];
byte open_commands;        /* accepted and not yet answered */

/* error_info_to_apps, by the thread that has just put the sender into `peer`. */
inline refuse() {
  atomic {
    answers[in_slot]++;
    printf("receiver: refuses datagram %d, %d commands run or wait\n", in_slot, open_commands)
  }
}

inline say_received() {
  if
  :: slot_first != slot_rest -> printf("receiver: gets datagram %d, which is wrong\n", in_slot)
  :: slot_first == slot_rest && whole[in_slot] ->
     printf("receiver: gets datagram %d, which is right\n", in_slot)
  :: else -> printf("receiver: gets datagram %d, short, right with what the slot held\n", in_slot)
  fi
}

active proctype receiver() {
  byte me = RECEIVER;
  bool taken;
  bool handed_over;

end:
  /* receive_message */
  atomic {
    received < DATAGRAMS -> received++;
    in_slot = received;
    peer = received;
    whole[in_slot] = true;
    if :: slot_first = 1 :: slot_first = 2 fi;
    if
    :: slot_rest = slot_first
    :: slot_rest = BAD
#ifdef SHORT
    :: whole[in_slot] = false
#endif
    fi;
    say_received()
  }

  try_lock(taken);
  atomic {
    if
    :: taken
#ifdef ONE_SLOT
    :: !taken ->
#else
    :: !taken && unanswered == 0 -> goto take  /* it is about to be released */
    :: !taken && unanswered > 0 ->
#endif
       refuse();
       prove(BUSY_IS_TRUE, open_commands > 0);
       goto done
    fi
  }
  goto check;

take:
  lock();

check:

  if
  :: slot_first != slot_rest -> refuse()
#ifndef ONE_SLOT
  :: slot_first == slot_rest && count == QUEUE ->
     atomic {
       refuse();
       prove(BUSY_IS_TRUE, open_commands > 0)
     }
#endif
  :: else ->
     atomic {
       accepted[in_slot] = true;
       open_commands++;
#ifndef ONE_SLOT
       waiting ! in_slot;
#endif
       count++;
       unanswered = count;
       handed_over = true;
       printf("receiver: hands datagram %d over\n", in_slot)
     }
  fi;
  unlock();
#if BREAK != 1
  if
  :: handed_over -> notify_one(COMMAND)
  :: else
  fi;
#endif

done:
  taken = false;
  handed_over = false;
  handled++;
  goto end
}

active proctype processor() {
  byte me = PROCESSOR;
  byte command;

next:
  lock();

  /* udp_waitsignal */
  do
  :: count > 0 -> break
  :: else ->
     begin_wait(COMMAND);
end:
     atomic {
       if
       :: waiting_on[me] == NOT_WAITING
       :: waiting_on[me] != NOT_WAITING && spurious_wake_ups > 0 ->
          spurious_wake_ups--;
          waiting_on[me] = NOT_WAITING
       fi
     }
     lock();
#if BREAK == 2
     break  /* without looking again */
#endif
  od;

  /* process_camera_functions */
  atomic {
#ifdef ONE_SLOT
    command = in_slot;
    prove(CHECKED, slot_first == slot_rest);
#else
    if
    :: waiting ? <command>
    :: empty(waiting) -> command = in_slot
    fi;
#endif
    prove(CHECKED, accepted[command]);
    weakness(WHOLE, whole[command]);
    executions[command]++;
    prove(ONCE, executions[command] == 1);
    printf("processor: executes datagram %d\n", command)
  }
  unanswered = count - 1;

  /* udp_consume */
#ifndef ONE_SLOT
#if BREAK != 3
  waiting ? _;
#endif
#endif
  count--;
#if BREAK != 4
  unlock();
#endif

  /* send_to_client */
  atomic {
    answers[command]++;
    open_commands--;
    printf("processor: replies to datagram %d, to the sender of %d\n", command, peer);
    weakness(OWN_SENDER, peer == command)
  }
  command = NOTHING;
  goto next
}

init {
  byte i = 1;
  timeout;  /* nothing moves any more */
  prove(IDLE_AGAIN, received == DATAGRAMS && handled == DATAGRAMS);
  prove(IDLE_AGAIN, count == 0 && unanswered == 0 && open_commands == 0);
  prove(IDLE_AGAIN, mutex == NOBODY && waiting_on[PROCESSOR] == COMMAND);
  do
  :: i <= DATAGRAMS ->
     prove(ONCE, executions[i] == accepted[i]);
     prove(ANSWERED, answers[i] == 1);
     i++
  :: else -> break
  od
}
