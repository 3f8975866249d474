/* SPDX-License-Identifier: MIT */
/* vx_udptcp: a small library of plain functions over POSIX sockets.
 *
 * IPv4 address conversion and resolution, UDP datagram sockets and TCP
 * clients and servers. Every send and receive is bounded by a time-out.
 *
 * Conventions for every function:
 *   - IP addresses are unsigned 32-bit numbers in host byte order, the first
 *     dotted component in the most significant byte (192.168.1.20 is
 *     0xC0A80114). 0 means "no address".
 *   - Ports are unsigned 16-bit numbers in host byte order.
 *   - Time-outs (tout_us) are in microseconds; 0 means poll: look once and
 *     return at once.
 *   - Results are the VX_* codes below. The library prints nothing and keeps
 *     no global state; a handle may be used by one thread at a time.
 *   - Descriptors at or above FD_SETSIZE (1024) cannot be waited on with
 *     select(); an init that would produce one fails with VX_ERROR.
 *   - A negative maxlen or len gives VX_ERROR at once, without waiting; so
 *     does a maxlen below 1 for the TCP receive functions, where an empty
 *     read would look like the peer closing. A maxlen of 0 for the UDP
 *     receive functions waits for the next datagram, takes it off the socket
 *     unread and gives VX_TRUNCATED (0 with VX_RECV_FULLOK).
 *   - A null handle, or a null place for an init function to store one,
 *     gives VX_ERROR.
 *   - Sends never block beyond tout_us: after the wait for writability the
 *     whole buffer is handed to the system in one call that does not wait;
 *     what does not fit at once (a peer that does not read) is a short send,
 *     VX_ERROR.
 */
#ifndef VX_UDPTCP_H
#define VX_UDPTCP_H

#ifdef __cplusplus
extern "C" {
#endif

/* Opaque handle of one open socket; created by an init function, released by
 * the matching exit function. */
typedef void *vx_ip_socket_type;

/* Result codes. Receive functions return a byte count (>= 0) on success. */
#define VX_OK 0              /* success of init, exit, option and send functions */
#define VX_TIMEOUT (-1)      /* nothing became readable/writable within tout_us */
#define VX_ERROR (-2)        /* a system call or an allocation failed, a short send,
                                a non-IPv4 sender, or an unusable descriptor */
#define VX_TRUNCATED (-3)    /* the datagram filled the whole buffer (may be cut) */
#define VX_ACCEPTED (-21)    /* TCP server: a new connection was accepted, nothing read */
#define VX_PEER_CLOSED (-22) /* TCP: the peer closed the connection */

/* Creation options (vx_udp_init, vx_tcp_server_init). */
#define VX_OPT_BROADCAST 0x1 /* UDP: enable SO_BROADCAST */
#define VX_OPT_MULTICONN 0x1 /* TCP server: keep accepting while connections are open */
#define VX_OPT_ANYPORT 0x4   /* bind at once to a port the system chooses */

/* Receive options (vx_udp_receive*). */
#define VX_RECV_NEWEST 0x1   /* drain queued datagrams, return the newest one */
#define VX_RECV_FULLOK 0x2   /* a datagram filling the buffer is no error */

/* ---- IP helpers ------------------------------------------------------- */

/* Builds an address from its four dotted components, first to last.
 * Returns 0 if any component is above 255 taken as unsigned (so negative
 * components fail too). */
unsigned int vx_ip_num2ip(int ip1, int ip2, int ip3, int ip4);

/* Resolves a dotted address (inet_addr's lenient forms included: "10.1",
 * "0x7f.1") or a hostname through the system resolver. Returns 0 if it
 * cannot be resolved. "255.255.255.255" equals inet_addr's error value and
 * is therefore looked up by the resolver. Blocks as long as the resolver. */
unsigned int vx_ip_name2ip(const char *name);

/* Splits an address into its four dotted components (all pointers required). */
void vx_ip_ip2num(int *ip1, int *ip2, int *ip3, int *ip4, unsigned int ip);

/* Local address and port of a socket, each stored only if its pointer is not
 * null. VX_OK or VX_ERROR. */
int vx_ip_getsockaddr(vx_ip_socket_type sock, unsigned int *ip, unsigned short *port);

/* Remote address and port of a connected socket. VX_OK or VX_ERROR. */
int vx_ip_getpeeraddr(vx_ip_socket_type sock, unsigned int *ip, unsigned short *port);

/* ---- UDP -------------------------------------------------------------- */

/* Opens a UDP socket on all interfaces. With VX_OPT_ANYPORT it is bound at
 * once to a system-chosen port; otherwise to port, or not at all when port
 * is 0 (the system then assigns one at the first send). Stores the handle
 * through sock on VX_OK; on VX_ERROR nothing stays open and *sock is
 * untouched. */
int vx_udp_init(vx_ip_socket_type *sock, unsigned short port, unsigned short options);

/* Closes the socket and releases the handle (in both outcomes).
 * VX_OK, or VX_ERROR if close() failed. */
int vx_udp_exit(vx_ip_socket_type sock);

/* Multicast TTL (0 leaves it unchanged) and loopback (-1 leaves it
 * unchanged, 0 off, anything else on). VX_OK or VX_ERROR. */
int vx_udp_setmulticast(vx_ip_socket_type sock, int ttl, int loopback);

/* Joins or leaves the multicast group mcip on all interfaces. */
int vx_udp_joingroup(vx_ip_socket_type sock, unsigned int mcip);
int vx_udp_dropgroup(vx_ip_socket_type sock, unsigned int mcip);

/* Receives one datagram of at most maxlen bytes, waiting at most tout_us.
 * Returns its length (0 for an empty datagram), VX_TIMEOUT, VX_ERROR, or
 * VX_TRUNCATED when it filled the buffer and VX_RECV_FULLOK was not given. */
int vx_udp_receive(vx_ip_socket_type sock, void *buffer, int maxlen, unsigned int tout_us,
                   unsigned short options);

/* As vx_udp_receive, and stores the sender's address and port through
 * whichever pointer is not null. The sender is accepted whoever it is. */
int vx_udp_receive_from(vx_ip_socket_type sock, void *buffer, int maxlen, unsigned int *ip,
                        unsigned short *port, unsigned int tout_us, unsigned short options);

/* Waits on nsock sockets at once and receives from the readable one with the
 * lowest index, stored through isock (required). With nsock <= 0 it waits
 * out the time-out and returns VX_TIMEOUT. */
int vx_udp_receive_multisocket(vx_ip_socket_type *sock, int nsock, int *isock, void *buffer,
                               int maxlen, unsigned int tout_us, unsigned short options);

/* Sends len bytes as one datagram to ip:port after waiting at most tout_us
 * for the socket to become writable. VX_OK only when all bytes went out;
 * VX_TIMEOUT (nothing sent) or VX_ERROR otherwise. */
int vx_udp_send(vx_ip_socket_type sock, const void *buffer, int len, unsigned int ip,
                unsigned short port, unsigned int tout_us);

/* ---- TCP -------------------------------------------------------------- */

/* Connects to ip:port (blocking connect, the system's time-out applies).
 * VX_OK and a client handle, or VX_ERROR with *sock untouched. */
int vx_tcp_client_init(vx_ip_socket_type *sock, unsigned int ip, unsigned short port);

/* Connects to ip:port, waiting at most tout_us for the connection to be
 * established. VX_OK and a client handle (blocking, like one from
 * vx_tcp_client_init); VX_TIMEOUT when the peer did not complete the
 * connection in time; VX_ERROR when it was refused or failed, with errno
 * telling why. *sock is untouched unless VX_OK. */
int vx_tcp_client_connect(vx_ip_socket_type *sock, unsigned int ip, unsigned short port,
                          unsigned int tout_us);

/* Listens on port (all interfaces, backlog 5). Without VX_OPT_MULTICONN the
 * server serves one connection at a time. VX_OK or VX_ERROR. */
int vx_tcp_server_init(vx_ip_socket_type *sock, unsigned short port, unsigned short options);

/* Closes any handle: a server with all its connections, a connection alone
 * (its server resumes accepting when it was the last), or a client.
 * The handle is released in both outcomes. VX_OK or VX_ERROR. */
int vx_tcp_exit(vx_ip_socket_type sock);

/* Keep-alive: idle seconds before the first probe, number of probes and
 * seconds between them. VX_OK or VX_ERROR (the first failure stops). */
int vx_tcp_set_keepalive(vx_ip_socket_type sock, unsigned int tidle_s, int repeats,
                         unsigned int trepeat_s);

/* Receives up to maxlen bytes from a client or connection handle.
 * Byte count (>= 1), VX_TIMEOUT, VX_ERROR or VX_PEER_CLOSED. */
int vx_tcp_receive(vx_ip_socket_type sock, void *buffer, int maxlen, unsigned int tout_us);

/* Waits on a server and all its connections. A pending connection is
 * accepted first (VX_ACCEPTED, nothing read); otherwise reads from the newest
 * ready connection. The connection concerned is stored through conn.
 * Byte count, VX_TIMEOUT, VX_ERROR, VX_ACCEPTED or VX_PEER_CLOSED (the
 * connection stays open; close it with vx_tcp_exit on *conn). */
int vx_tcp_server_receive(vx_ip_socket_type sock, vx_ip_socket_type *conn, void *buffer,
                          int maxlen, unsigned int tout_us);

/* Sends len bytes after waiting at most tout_us for writability.
 * VX_OK when all went out at once; VX_TIMEOUT or VX_ERROR otherwise (also
 * when only part of the buffer fitted into the socket's send buffer: the
 * call never waits for a peer to read). */
int vx_tcp_send(vx_ip_socket_type sock, const void *buffer, int len, unsigned int tout_us);

#ifdef __cplusplus
}
#endif

#endif /* VX_UDPTCP_H */
