// Bodies of the forms of the web interface. A parameter that is missing from a request is not empty for the program
// but some other text of the request, so a form always carries all of its fields, and one more behind the last.

// The settings form with every text field (empty: the setting stays) and the check boxes named in `boxes`.
export function settingsForm(fields = {}, boxes = ['NEW_WINDOW=TRUE', 'MAX_LINK_SIZE_ON=TRUE']) {
  const keys = ['HTTP_PORT_CFG', 'CHECK_MIN', 'SESSION_MIN', 'EMAIL_ADDRESS', 'POP_SERVER', 'POP_ACCOUNT', 'POP_PASSWORD',
    'SMTP_SERVER', 'SMTP_USER', 'SMTP_PASSWORD', 'MAX_SPAM_SIZE', 'MAX_LINK_SIZE', 'MESSAGES_PER_PAGE'];
  return [...boxes, ...keys.map((key) => `${key}=${fields[key] ?? ''}`), 'END=1'].join('&');
}

// The form of the SpamBox or Inbox page with these boxes checked: "R0" restores row 0, "D3" deletes row 3.
export function boxesForm(...boxes) {
  return `SUBMIT3=RESTORE-DELETE&${boxes.map((box) => `${box}=1&`).join('')}END=1`;
}
