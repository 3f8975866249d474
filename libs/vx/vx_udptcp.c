/* SPDX-License-Identifier: MIT */
/* vx_udptcp: IPv4 helpers, UDP sockets and TCP clients/servers over POSIX
 * sockets. The contract of every public function is in vx_udptcp.h; this
 * file explains the choices behind it.
 *
 * Every wait is one select() on a private copy of a descriptor set with a
 * freshly built timeval: select() overwrites both, so the record's own set
 * must never be handed to it. select() is always given the whole range
 * (VX_SELECT_NFDS) rather than "highest descriptor + 1", which is why every
 * descriptor the library keeps must lie below FD_SETSIZE; one beyond it
 * would make FD_SET write past the end of the set.
 *
 * An interrupted select() (EINTR) is not restarted: Linux never restarts
 * select() after a signal handler, whatever SA_RESTART says, and the library
 * does not loop either, so a signal ends the wait with VX_ERROR and the
 * caller decides whether to try again.
 */
#define _DEFAULT_SOURCE /* gethostbyname, TCP_KEEPIDLE and friends */

#include "vx_udptcp.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdlib.h>
#include <string.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

/* Descriptor count passed to every select(). */
#define VX_SELECT_NFDS 1024
_Static_assert(VX_SELECT_NFDS <= FD_SETSIZE, "select() range exceeds fd_set");

#define VX_USEC_PER_SEC 1000000u
#define VX_LISTEN_BACKLOG 5
#define VX_IP_COMPONENT_MAX 255u
#define VX_BYTE_MASK 0xFFu
#define VX_SOCKOPT_ON 1
#define VX_SOCKOPT_OFF 0
#define VX_MULTICAST_LOOP_KEEP (-1) /* vx_udp_setmulticast: leave loopback as it is */
#define VX_MULTICAST_TTL_KEEP 0     /* vx_udp_setmulticast: leave the TTL as it is */
#define VX_NO_PORT 0                /* bind(): let the system choose the port */
#define VX_STDIN_FD 0               /* the descriptor the library never uses */

/* Descriptor type of the operating system. */
typedef int _os_socket_type;

/* One socket of the library. For a TCP server, next leads to its accepted
 * connections, newest first; each connection's prev points to the record in
 * front of it (a newer connection or the server), so following prev always
 * ends at the server. */
struct _ip_socket_struct {
    _os_socket_type ossock;
    unsigned short options;  /* creation options */
    fd_set ossockset;        /* what receive and send wait on */
    struct _ip_socket_struct *prev;
    struct _ip_socket_struct *next;
};

typedef struct _ip_socket_struct _ip_socket;

/* ---- internal helpers ------------------------------------------------- */

/* The one conversion of a time-out into select()'s form. Built afresh for
 * every call, since Linux's select() writes the remaining time back. */
static struct timeval _tout_to_timeval(unsigned int tout_us)
{
    struct timeval tv;
    tv.tv_sec = (time_t)(tout_us / VX_USEC_PER_SEC);
    tv.tv_usec = (suseconds_t)(tout_us % VX_USEC_PER_SEC);
    return tv;
}

/* Waits on the caller's private copy of a set, for readability or
 * writability. Returns select()'s own result: the number of ready
 * descriptors, 0 on time-out, -1 on failure (EINTR included, see top). */
static int _select_wait(fd_set *set, int for_write, unsigned int tout_us)
{
    struct timeval tv = _tout_to_timeval(tout_us);
    return select(VX_SELECT_NFDS, for_write ? NULL : set, for_write ? set : NULL, NULL, &tv);
}

static void _fill_sockaddr(struct sockaddr_in *addr, unsigned int ip, unsigned short port)
{
    memset(addr, 0, sizeof *addr);
    addr->sin_family = AF_INET;
    addr->sin_port = htons(port);
    addr->sin_addr.s_addr = htonl(ip);
}

static int _set_int_option(_os_socket_type fd, int level, int name, int value)
{
    return setsockopt(fd, level, name, &value, sizeof value) < 0 ? VX_ERROR : VX_OK;
}

/* Creates a socket and its record. socket() hands out the lowest free
 * descriptor; if that is 0 (stdin closed), a second socket is opened and
 * the first stays open as a placeholder, so that 0 is never a library
 * socket: too much code treats 0 as "no descriptor". On failure nothing of
 * this call stays open, the placeholder included, and *sock is untouched. */
static int _socket_init(_ip_socket **sock, int style, unsigned short options)
{
    _os_socket_type placeholder = -1;
    _os_socket_type fd;
    _ip_socket *s;

    fd = socket(AF_INET, style, 0);
    if (fd == VX_STDIN_FD) {
        placeholder = fd;
        fd = socket(AF_INET, style, 0);
    }
    if (fd < 0)
        goto fail;
    if (fd >= FD_SETSIZE) /* before any FD_SET, see top */
        goto fail;
    s = malloc(sizeof *s);
    if (s == NULL)
        goto fail;

    s->ossock = fd;
    s->options = options;
    FD_ZERO(&s->ossockset);
    FD_SET(fd, &s->ossockset);
    s->prev = NULL;
    s->next = NULL;
    *sock = s;
    return VX_OK;

fail:
    if (fd >= 0)
        close(fd);
    if (placeholder >= 0)
        close(placeholder);
    return VX_ERROR;
}

/* Closes conn (an accepted connection of server sock) and unlinks it. When
 * the server's last connection goes, its listening descriptor returns to
 * its set, so a single-connection server accepts again. A failing close of
 * a connection is not reported: the record is gone either way. */
static int _socket_sub_connection(_ip_socket *sock, _ip_socket *conn)
{
    close(conn->ossock);
    if (conn->next != NULL)
        conn->next->prev = conn->prev;
    conn->prev->next = conn->next;
    FD_CLR(conn->ossock, &sock->ossockset);
    if (sock->next == NULL)
        FD_SET(sock->ossock, &sock->ossockset);
    free(conn);
    return VX_OK;
}

/* Releases any record: a connection is unlinked from its server (found at
 * the head of its prev chain); a server first closes all its connections. */
static int _socket_exit(_ip_socket *sock)
{
    int rc;

    if (sock == NULL)
        return VX_ERROR;
    if (sock->prev != NULL) {
        _ip_socket *server = sock->prev;
        while (server->prev != NULL)
            server = server->prev;
        return _socket_sub_connection(server, sock);
    }
    while (sock->next != NULL)
        _socket_sub_connection(sock, sock->next);
    rc = close(sock->ossock) < 0 ? VX_ERROR : VX_OK;
    free(sock);
    return rc;
}

/* Records a descriptor that accept() returned for server sock, as the
 * newest connection. Without VX_OPT_MULTICONN the listening descriptor
 * leaves the server's set, so further clients wait in the backlog until the
 * list is empty again. On failure osconn is closed. */
static int _socket_add_connection(_ip_socket *sock, _ip_socket **conn, _os_socket_type osconn)
{
    _ip_socket *c;

    if (osconn >= FD_SETSIZE) /* before any FD_SET, see top */
        goto fail;
    c = malloc(sizeof *c);
    if (c == NULL)
        goto fail;

    c->ossock = osconn;
    c->options = 0;
    FD_ZERO(&c->ossockset);
    FD_SET(osconn, &c->ossockset);
    c->prev = sock;
    c->next = sock->next;
    if (sock->next != NULL)
        sock->next->prev = c;
    sock->next = c;

    FD_SET(osconn, &sock->ossockset);
    if (!(sock->options & VX_OPT_MULTICONN))
        FD_CLR(sock->ossock, &sock->ossockset);
    *conn = c;
    return VX_OK;

fail:
    close(osconn);
    return VX_ERROR;
}

/* The newest connection of server sock whose descriptor is in set. */
static int _socket_find_connection(_ip_socket *sock, _ip_socket **conn, const fd_set *set)
{
    _ip_socket *c;

    for (c = sock->next; c != NULL; c = c->next) {
        if (FD_ISSET(c->ossock, set)) {
            *conn = c;
            return VX_OK;
        }
    }
    return VX_ERROR;
}

/* Waits until one of nsock sockets is readable and reports the lowest ready
 * index through isock (if not null). nsock <= 0 just waits out the
 * time-out, which makes it a plain sleep that a caller may rely on. */
static int _udp_receive_wait(_ip_socket **sock, int nsock, int *isock, unsigned int tout_us)
{
    fd_set set;
    int i;
    int n;

    if (nsock > 0 && sock == NULL)
        return VX_ERROR;
    for (i = 0; i < nsock; i++)
        if (sock[i] == NULL)
            return VX_ERROR;
    if (nsock == 1) {
        set = sock[0]->ossockset;
    } else {
        FD_ZERO(&set);
        for (i = 0; i < nsock; i++)
            FD_SET(sock[i]->ossock, &set);
    }

    n = _select_wait(&set, 0, tout_us);
    if (n < 0)
        return VX_ERROR;
    if (n == 0 || nsock <= 0)
        return VX_TIMEOUT;

    if (nsock == 1) {
        if (isock != NULL)
            *isock = 0;
        return VX_OK;
    }
    for (i = 0; i < nsock; i++) {
        if (FD_ISSET(sock[i]->ossock, &set)) {
            if (isock != NULL)
                *isock = i;
            return VX_OK;
        }
    }
    return VX_ERROR;
}

/* Reads one datagram; with VX_RECV_NEWEST keeps reading while another one
 * is already queued, each overwriting buffer and addr, so that a reader
 * that fell behind gets the latest. A count that reaches maxlen means the
 * datagram may have been cut (recv() drops the rest silently), hence
 * VX_TRUNCATED unless the caller accepts a full buffer. */
static int _udp_receive_from(_ip_socket *sock, void *buffer, int maxlen, struct sockaddr_in *addr,
                             unsigned short options)
{
    ssize_t n;

    if (maxlen < 0)
        return VX_ERROR;
    for (;;) {
        fd_set set;

        if (addr != NULL) {
            socklen_t addrlen = sizeof *addr; /* recvfrom() shrinks it: reset each time */
            n = recvfrom(sock->ossock, buffer, (size_t)maxlen, 0, (struct sockaddr *)addr,
                         &addrlen);
        } else {
            n = recv(sock->ossock, buffer, (size_t)maxlen, 0);
        }
        if (n < 0)
            return VX_ERROR;
        if (!(options & VX_RECV_NEWEST))
            break;
        set = sock->ossockset;
        if (_select_wait(&set, 0, 0) != 1)
            break;
    }

    if (!(options & VX_RECV_FULLOK) && n >= maxlen)
        return VX_TRUNCATED;
    return (int)n;
}

/* Waits for writability and sends len bytes in one call, to dest if given
 * (UDP) or on the connected socket (TCP). Blocking sockets: a send either
 * queues everything or fails; a short count is reported as VX_ERROR and
 * nothing is retried. */
static int _send_wait(_ip_socket *sock, const void *buffer, int len,
                      const struct sockaddr_in *dest, unsigned int tout_us)
{
    fd_set set;
    ssize_t n;
    int ready;

    if (sock == NULL || len < 0)
        return VX_ERROR;
    set = sock->ossockset;
    ready = _select_wait(&set, 1, tout_us);
    if (ready == 0)
        return VX_TIMEOUT;
    if (ready != 1)
        return VX_ERROR;
    /* Never blocks: writability only means some room, and a peer that does
     * not read could otherwise hold a large send for ever. What does not fit
     * at once is a short send. */
    if (dest != NULL)
        n = sendto(sock->ossock, buffer, (size_t)len, MSG_DONTWAIT | MSG_NOSIGNAL,
                   (const struct sockaddr *)dest, sizeof *dest);
    else
        n = send(sock->ossock, buffer, (size_t)len, MSG_DONTWAIT | MSG_NOSIGNAL);
    return n >= len ? VX_OK : VX_ERROR;
}

/* Local (getsockname) or remote (getpeername) end of a socket. */
static int _get_addr(vx_ip_socket_type sock, int peer, unsigned int *ip, unsigned short *port)
{
    _ip_socket *s = sock;
    struct sockaddr_in addr;
    socklen_t addrlen = sizeof addr;
    int rc;

    if (s == NULL)
        return VX_ERROR;
    memset(&addr, 0, sizeof addr);
    if (peer)
        rc = getpeername(s->ossock, (struct sockaddr *)&addr, &addrlen);
    else
        rc = getsockname(s->ossock, (struct sockaddr *)&addr, &addrlen);
    if (rc < 0)
        return VX_ERROR;
    if (ip != NULL)
        *ip = ntohl(addr.sin_addr.s_addr);
    if (port != NULL)
        *port = ntohs(addr.sin_port);
    return VX_OK;
}

/* ---- IP helpers ------------------------------------------------------- */

unsigned int vx_ip_num2ip(int ip1, int ip2, int ip3, int ip4)
{
    /* Taken as unsigned, a negative component is far above 255. */
    if ((unsigned int)ip1 > VX_IP_COMPONENT_MAX || (unsigned int)ip2 > VX_IP_COMPONENT_MAX ||
        (unsigned int)ip3 > VX_IP_COMPONENT_MAX || (unsigned int)ip4 > VX_IP_COMPONENT_MAX)
        return 0;
    return (unsigned int)ip1 << 24 | (unsigned int)ip2 << 16 | (unsigned int)ip3 << 8 |
           (unsigned int)ip4;
}

/* inet_addr first, so dotted text never waits for the resolver; only its
 * error value INADDR_NONE goes on to gethostbyname (which also makes
 * "255.255.255.255", whose value is INADDR_NONE, come out right: the
 * resolver parses numeric text itself). */
unsigned int vx_ip_name2ip(const char *name)
{
    in_addr_t a;
    struct hostent *he;

    if (name == NULL)
        return 0;
    a = inet_addr(name);
    if (a != INADDR_NONE)
        return ntohl(a);

    he = gethostbyname(name);
    if (he == NULL || he->h_addrtype != AF_INET || he->h_length != (int)sizeof a ||
        he->h_addr_list[0] == NULL)
        return 0;
    memcpy(&a, he->h_addr_list[0], sizeof a);
    return ntohl(a);
}

void vx_ip_ip2num(int *ip1, int *ip2, int *ip3, int *ip4, unsigned int ip)
{
    *ip1 = (int)(ip >> 24);
    *ip2 = (int)((ip >> 16) & VX_BYTE_MASK);
    *ip3 = (int)((ip >> 8) & VX_BYTE_MASK);
    *ip4 = (int)(ip & VX_BYTE_MASK);
}

int vx_ip_getsockaddr(vx_ip_socket_type sock, unsigned int *ip, unsigned short *port)
{
    return _get_addr(sock, 0, ip, port);
}

int vx_ip_getpeeraddr(vx_ip_socket_type sock, unsigned int *ip, unsigned short *port)
{
    return _get_addr(sock, 1, ip, port);
}

/* ---- UDP -------------------------------------------------------------- */

/* SO_REUSEADDR is set even when no bind follows, so that a later bind by
 * the system (at the first send) behaves the same. */
int vx_udp_init(vx_ip_socket_type *sock, unsigned short port, unsigned short options)
{
    _ip_socket *s;
    struct sockaddr_in addr;

    if (sock == NULL)
        return VX_ERROR;
    if (_socket_init(&s, SOCK_DGRAM, options) != VX_OK)
        return VX_ERROR;
    if ((options & VX_OPT_BROADCAST) &&
        _set_int_option(s->ossock, SOL_SOCKET, SO_BROADCAST, VX_SOCKOPT_ON) != VX_OK)
        goto fail;
    if (_set_int_option(s->ossock, SOL_SOCKET, SO_REUSEADDR, VX_SOCKOPT_ON) != VX_OK)
        goto fail;
    if ((options & VX_OPT_ANYPORT) || port != VX_NO_PORT) {
        _fill_sockaddr(&addr, INADDR_ANY, (options & VX_OPT_ANYPORT) ? VX_NO_PORT : port);
        if (bind(s->ossock, (struct sockaddr *)&addr, sizeof addr) < 0)
            goto fail;
    }
    *sock = s;
    return VX_OK;

fail:
    _socket_exit(s);
    return VX_ERROR;
}

int vx_udp_exit(vx_ip_socket_type sock)
{
    return _socket_exit(sock);
}

int vx_udp_setmulticast(vx_ip_socket_type sock, int ttl, int loopback)
{
    _ip_socket *s = sock;

    if (s == NULL)
        return VX_ERROR;
    if (ttl != VX_MULTICAST_TTL_KEEP &&
        _set_int_option(s->ossock, IPPROTO_IP, IP_MULTICAST_TTL, ttl) != VX_OK)
        return VX_ERROR;
    if (loopback == VX_MULTICAST_LOOP_KEEP)
        return VX_OK;
    return _set_int_option(s->ossock, IPPROTO_IP, IP_MULTICAST_LOOP,
                           loopback ? VX_SOCKOPT_ON : VX_SOCKOPT_OFF);
}

static int _udp_membership(vx_ip_socket_type sock, unsigned int mcip, int name)
{
    _ip_socket *s = sock;
    struct ip_mreq mreq;

    if (s == NULL)
        return VX_ERROR;
    memset(&mreq, 0, sizeof mreq);
    mreq.imr_multiaddr.s_addr = htonl(mcip);
    mreq.imr_interface.s_addr = htonl(INADDR_ANY);
    return setsockopt(s->ossock, IPPROTO_IP, name, &mreq, sizeof mreq) < 0 ? VX_ERROR : VX_OK;
}

int vx_udp_joingroup(vx_ip_socket_type sock, unsigned int mcip)
{
    return _udp_membership(sock, mcip, IP_ADD_MEMBERSHIP);
}

int vx_udp_dropgroup(vx_ip_socket_type sock, unsigned int mcip)
{
    return _udp_membership(sock, mcip, IP_DROP_MEMBERSHIP);
}

int vx_udp_receive(vx_ip_socket_type sock, void *buffer, int maxlen, unsigned int tout_us,
                   unsigned short options)
{
    _ip_socket *s = sock;
    int rc;

    if (maxlen < 0)
        return VX_ERROR;
    rc = _udp_receive_wait(&s, 1, NULL, tout_us);
    if (rc != VX_OK)
        return rc;
    return _udp_receive_from(s, buffer, maxlen, NULL, options);
}

/* The sender is reported, never checked: any host and port is accepted. */
int vx_udp_receive_from(vx_ip_socket_type sock, void *buffer, int maxlen, unsigned int *ip,
                        unsigned short *port, unsigned int tout_us, unsigned short options)
{
    _ip_socket *s = sock;
    struct sockaddr_in from;
    int rc;

    if (maxlen < 0)
        return VX_ERROR;
    rc = _udp_receive_wait(&s, 1, NULL, tout_us);
    if (rc != VX_OK)
        return rc;
    memset(&from, 0, sizeof from);
    rc = _udp_receive_from(s, buffer, maxlen, &from, options);
    if (rc < 0)
        return rc;
    if (from.sin_family != AF_INET)
        return VX_ERROR;
    if (ip != NULL)
        *ip = ntohl(from.sin_addr.s_addr);
    if (port != NULL)
        *port = ntohs(from.sin_port);
    return rc;
}

int vx_udp_receive_multisocket(vx_ip_socket_type *sock, int nsock, int *isock, void *buffer,
                               int maxlen, unsigned int tout_us, unsigned short options)
{
    _ip_socket **s = (_ip_socket **)sock;
    int i = 0;
    int rc;

    if (maxlen < 0)
        return VX_ERROR;
    rc = _udp_receive_wait(s, nsock, &i, tout_us);
    if (rc != VX_OK)
        return rc;
    if (isock != NULL)
        *isock = i;
    return _udp_receive_from(s[i], buffer, maxlen, NULL, options);
}

int vx_udp_send(vx_ip_socket_type sock, const void *buffer, int len, unsigned int ip,
                unsigned short port, unsigned int tout_us)
{
    struct sockaddr_in dest;

    _fill_sockaddr(&dest, ip, port);
    return _send_wait(sock, buffer, len, &dest, tout_us);
}

/* ---- TCP -------------------------------------------------------------- */

/* A blocking connect: the library adds no time-out of its own. */
int vx_tcp_client_init(vx_ip_socket_type *sock, unsigned int ip, unsigned short port)
{
    _ip_socket *s;
    struct sockaddr_in addr;

    if (sock == NULL)
        return VX_ERROR;
    if (_socket_init(&s, SOCK_STREAM, 0) != VX_OK)
        return VX_ERROR;
    _fill_sockaddr(&addr, ip, port);
    if (connect(s->ossock, (struct sockaddr *)&addr, sizeof addr) < 0)
        goto fail;
    *sock = s;
    return VX_OK;

fail:
    _socket_exit(s);
    return VX_ERROR;
}

/* A non-blocking connect waited for with select(); the outcome is read from
 * SO_ERROR. errno is kept across the clean-up so that the caller can name
 * the reason of a failure. */
int vx_tcp_client_connect(vx_ip_socket_type *sock, unsigned int ip, unsigned short port,
                          unsigned int tout_us)
{
    _ip_socket *s;
    struct sockaddr_in addr;
    int flags, ready, err = 0, result = VX_ERROR;
    socklen_t errlen = sizeof err;
    fd_set set;

    if (sock == NULL)
        return VX_ERROR;
    if (_socket_init(&s, SOCK_STREAM, 0) != VX_OK)
        return VX_ERROR;
    flags = fcntl(s->ossock, F_GETFL);
    if (flags < 0 || fcntl(s->ossock, F_SETFL, flags | O_NONBLOCK) < 0) {
        err = errno;
        goto fail;
    }
    _fill_sockaddr(&addr, ip, port);
    if (connect(s->ossock, (struct sockaddr *)&addr, sizeof addr) < 0) {
        if (errno != EINPROGRESS) {
            err = errno;
            goto fail;
        }
        set = s->ossockset;
        ready = _select_wait(&set, 1, tout_us);
        if (ready == 0) {
            err = ETIMEDOUT;
            result = VX_TIMEOUT;
            goto fail;
        }
        if (ready < 0) {
            err = errno;
            goto fail;
        }
        if (getsockopt(s->ossock, SOL_SOCKET, SO_ERROR, &err, &errlen) < 0)
            err = errno;
        if (err != 0)
            goto fail;
    }
    if (fcntl(s->ossock, F_SETFL, flags) < 0) {
        err = errno;
        goto fail;
    }
    *sock = s;
    return VX_OK;

fail:
    _socket_exit(s);
    errno = err;
    return result;
}

/* SO_REUSEADDR lets a restarted server bind while old connections of its
 * predecessor are still in TIME_WAIT. */
int vx_tcp_server_init(vx_ip_socket_type *sock, unsigned short port, unsigned short options)
{
    _ip_socket *s;
    struct sockaddr_in addr;

    if (sock == NULL)
        return VX_ERROR;
    if (_socket_init(&s, SOCK_STREAM, options) != VX_OK)
        return VX_ERROR;
    if (_set_int_option(s->ossock, SOL_SOCKET, SO_REUSEADDR, VX_SOCKOPT_ON) != VX_OK)
        goto fail;
    _fill_sockaddr(&addr, INADDR_ANY, (options & VX_OPT_ANYPORT) ? VX_NO_PORT : port);
    if (bind(s->ossock, (struct sockaddr *)&addr, sizeof addr) < 0)
        goto fail;
    if (listen(s->ossock, VX_LISTEN_BACKLOG) < 0)
        goto fail;
    *sock = s;
    return VX_OK;

fail:
    _socket_exit(s);
    return VX_ERROR;
}

int vx_tcp_exit(vx_ip_socket_type sock)
{
    return _socket_exit(sock);
}

int vx_tcp_set_keepalive(vx_ip_socket_type sock, unsigned int tidle_s, int repeats,
                         unsigned int trepeat_s)
{
    _ip_socket *s = sock;

    if (s == NULL)
        return VX_ERROR;
    if (_set_int_option(s->ossock, SOL_SOCKET, SO_KEEPALIVE, VX_SOCKOPT_ON) != VX_OK ||
        _set_int_option(s->ossock, IPPROTO_TCP, TCP_KEEPIDLE, (int)tidle_s) != VX_OK ||
        _set_int_option(s->ossock, IPPROTO_TCP, TCP_KEEPCNT, repeats) != VX_OK ||
        _set_int_option(s->ossock, IPPROTO_TCP, TCP_KEEPINTVL, (int)trepeat_s) != VX_OK)
        return VX_ERROR;
    return VX_OK;
}

/* A read of 0 bytes is the peer's orderly shutdown. That is why the TCP
 * receive functions refuse a buffer of less than one byte (VX_ERROR): its
 * empty read could not be told apart from a closed connection. */
static int _tcp_recv(_ip_socket *sock, void *buffer, int maxlen)
{
    ssize_t n = recv(sock->ossock, buffer, (size_t)maxlen, 0);

    if (n == 0)
        return VX_PEER_CLOSED;
    if (n < 0)
        return VX_ERROR;
    return (int)n;
}

/* On a server handle the set may hold several descriptors, and more than
 * one ready descriptor is reported as VX_ERROR: this is for clients and
 * connections only. */
int vx_tcp_receive(vx_ip_socket_type sock, void *buffer, int maxlen, unsigned int tout_us)
{
    _ip_socket *s = sock;
    fd_set set;
    int ready;

    if (s == NULL || maxlen < 1)
        return VX_ERROR;
    set = s->ossockset;
    ready = _select_wait(&set, 0, tout_us);
    if (ready == 0)
        return VX_TIMEOUT;
    if (ready != 1)
        return VX_ERROR;
    return _tcp_recv(s, buffer, maxlen);
}

/* A pending connection is accepted before any data is read, so a client
 * never waits behind a busy peer. A connection whose peer closed is left
 * open and in the list (VX_PEER_CLOSED each time) until the caller exits
 * it: the caller may still want its address. */
int vx_tcp_server_receive(vx_ip_socket_type sock, vx_ip_socket_type *conn, void *buffer,
                          int maxlen, unsigned int tout_us)
{
    _ip_socket *s = sock;
    _ip_socket *c;
    fd_set set;
    int ready;

    if (s == NULL || conn == NULL || maxlen < 1)
        return VX_ERROR;
    set = s->ossockset;
    ready = _select_wait(&set, 0, tout_us);
    if (ready == 0)
        return VX_TIMEOUT;
    if (ready < 0)
        return VX_ERROR;

    if (FD_ISSET(s->ossock, &set)) {
        struct sockaddr_in peer; /* discarded: vx_ip_getpeeraddr asks the socket */
        socklen_t peerlen = sizeof peer;
        _os_socket_type fd = accept(s->ossock, (struct sockaddr *)&peer, &peerlen);

        if (fd < 0)
            return VX_ERROR;
        if (_socket_add_connection(s, &c, fd) != VX_OK)
            return VX_ERROR;
        *conn = c;
        return VX_ACCEPTED;
    }

    if (_socket_find_connection(s, &c, &set) != VX_OK)
        return VX_ERROR;
    *conn = c;
    return _tcp_recv(c, buffer, maxlen);
}

int vx_tcp_send(vx_ip_socket_type sock, const void *buffer, int len, unsigned int tout_us)
{
    return _send_wait(sock, buffer, len, NULL, tout_us);
}
