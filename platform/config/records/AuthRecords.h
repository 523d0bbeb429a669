// Servers against which mail users are authenticated. No table of the store holds them: the
// daemons pass them in.
#pragma once

#include <cstddef>
#include <cstdint>

// A RADIUS server.
struct __aps_mailauth_radius_server {
  char name[258];                   // 0
  unsigned char reserved_258[134];  // 258
  std::uint32_t option;             // 392
};
typedef struct __aps_mailauth_radius_server aps_mailauth_radius_server;
static_assert(sizeof(__aps_mailauth_radius_server) == 396);
static_assert(offsetof(__aps_mailauth_radius_server, name) == 0);
static_assert(offsetof(__aps_mailauth_radius_server, option) == 392);

// An LDAP server; nothing of it is read.
struct _vxa_mailuser_ldap_server {
  char name[258];  // 0
};
typedef struct _vxa_mailuser_ldap_server vxa_mailuser_ldap_server;
static_assert(sizeof(_vxa_mailuser_ldap_server) == 258);
static_assert(offsetof(_vxa_mailuser_ldap_server, name) == 0);

// A POP3 server.
struct __aps_mailauth_pop3_server {
  char name[258];      // 0
  char server[64];     // 258
  std::uint16_t port;  // 322
  // Bits: 0 option-2, 2 option-1, 3 option-8.
  unsigned char flags;            // 324
  unsigned char reserved_325[3];  // 325
  unsigned char option;           // 328
  unsigned char reserved_329;     // 329
};
typedef struct __aps_mailauth_pop3_server aps_mailauth_pop3_server;
static_assert(sizeof(__aps_mailauth_pop3_server) == 330);
static_assert(offsetof(__aps_mailauth_pop3_server, name) == 0);
static_assert(offsetof(__aps_mailauth_pop3_server, server) == 258);
static_assert(offsetof(__aps_mailauth_pop3_server, port) == 322);
static_assert(offsetof(__aps_mailauth_pop3_server, flags) == 324);
static_assert(offsetof(__aps_mailauth_pop3_server, option) == 328);

// An IMAP server; laid out like a POP3 server.
struct __aps_mailauth_imap_server {
  char name[258];      // 0
  char server[64];     // 258
  std::uint16_t port;  // 322
  // Bits: 0 option-2, 2 option-1, 3 option-8.
  unsigned char flags;            // 324
  unsigned char reserved_325[3];  // 325
  unsigned char option;           // 328
  unsigned char reserved_329;     // 329
};
typedef struct __aps_mailauth_imap_server aps_mailauth_imap_server;
static_assert(sizeof(__aps_mailauth_imap_server) == 330);
static_assert(offsetof(__aps_mailauth_imap_server, name) == 0);
static_assert(offsetof(__aps_mailauth_imap_server, server) == 258);
static_assert(offsetof(__aps_mailauth_imap_server, port) == 322);
static_assert(offsetof(__aps_mailauth_imap_server, flags) == 324);
static_assert(offsetof(__aps_mailauth_imap_server, option) == 328);

// An SMTP server; laid out like a POP3 server, with one switch more.
struct __aps_mailauth_smtp_server {
  char name[258];      // 0
  char server[64];     // 258
  std::uint16_t port;  // 322
  // Bits: 0 option-2, 2 option-1, 3 option-8.
  unsigned char flags;            // 324
  unsigned char reserved_325[3];  // 325
  unsigned char option;           // 328
  unsigned char option_16;        // 329
};
typedef struct __aps_mailauth_smtp_server aps_mailauth_smtp_server;
static_assert(sizeof(__aps_mailauth_smtp_server) == 330);
static_assert(offsetof(__aps_mailauth_smtp_server, name) == 0);
static_assert(offsetof(__aps_mailauth_smtp_server, server) == 258);
static_assert(offsetof(__aps_mailauth_smtp_server, port) == 322);
static_assert(offsetof(__aps_mailauth_smtp_server, flags) == 324);
static_assert(offsetof(__aps_mailauth_smtp_server, option) == 328);
static_assert(offsetof(__aps_mailauth_smtp_server, option_16) == 329);
