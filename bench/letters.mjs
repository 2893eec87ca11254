// Messages of a chosen length.
export function letter(number, bytes, sender) {
  const head = `From: ${sender}\r\nTo: joe@home.example\r\nSubject: Letter ${number}\r\n` +
    'Date: Sun, 15 Nov 2026 01:55:00 +0000\r\nMessage-ID: <' + number + '@bench.example>\r\n\r\n';
  const line = 'This line stands here to make the letter as long as it has to be for the measurement.\r\n';
  return head + line.repeat(Math.max(1, Math.ceil((bytes - head.length) / line.length)));
}
