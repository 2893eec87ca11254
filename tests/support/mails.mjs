// Messages for tests. "friend.example" is on the harness's FriendList; everybody else is a stranger, whose mail is spam.

export function mail({ from = 'Stranger <who@stranger.example>', subject = 'hello', body = 'One line.\r\n' } = {}) {
  return Buffer.from(
    `From: ${from}\r\nTo: Joe <joe@home.example>\r\nSubject: ${subject}\r\n` +
    `Date: Mon, 09 Nov 2026 08:12:41 +0000\r\n\r\n${body}`, 'latin1');
}

export const friendly = (subject, body) => mail({ from: 'Fay <fay@friend.example>', subject, body });
export const spam = (subject, body) => mail({ from: `Sam <sam@spam-${subject}.example>`, subject, body });

// Two messages of a friend with three of strangers between and behind: the mailbox of most fault tests.
export function smallMailbox() {
  return [
    { uid: 'one', data: friendly('kept-1') },
    { uid: 'two', data: spam('caught-1', 'first\r\n.lead\r\n..\r\n.\r\nlast\r\n') },
    { uid: 'three', data: spam('caught-2', 'x'.repeat(3000) + '\r\n') },
    { uid: 'four', data: friendly('kept-2') },
    { uid: 'five', data: spam('caught-3') },
  ];
}

// Enough messages for a server to be asked what it can do.
export function largeMailbox(count = 40) {
  return Array.from({ length: count }, (_, i) => ({
    uid: `m${i}`,
    data: i % 4 === 0 ? friendly(`kept-${i}`) : spam(`caught-${i}`, `line ${i}\r\n`.repeat(i + 1)),
  }));
}

// A mailbox of this many messages for a real server, every fourth of them a friend's, no two alike.
export function mixture(count) {
  return Array.from({ length: count }, (_, i) => (i % 4 === 0
    ? friendly(`kept-${i}`, `${i}\r\n`.repeat(i))
    : spam(`caught-${i}`, `.${i}\r\n..\r\nline with \xe9\r\n`.repeat(i % 50 + 1))));
}
