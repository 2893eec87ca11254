// The script of the settings page: what is typed is looked at before it is sent, each problem at its field (top.js shows
// what data-problem holds); nothing stays behind the bar with the button; and changes that have not been saved are not left
// without asking. Runs in the head; the build puts it into config.htm.
'use strict';
(function () {
  // The least and the most; without them the program brings a number into its range.
  var NUMBERS = {
    HTTP_PORT_CFG: { least: 1, most: 65535, example: 7000 },
    MESSAGES_PER_PAGE: { least: 1, most: 10000, example: 15 },
    CHECK_MIN: { example: 30 },
    SESSION_MIN: { example: 30 },
    MAX_SPAM_SIZE: { example: 150 },
    MAX_LINK_SIZE: { example: 150 },
  };
  // The port at which a server waits for an encrypted connection from the start.
  var SERVERS = { POP_SERVER: 995, SMTP_SERVER: 465 };
  var ASK = 'Your changes to the settings have not been saved. Leave the page without them?';

  var form, bar, saving = false, left = false;
  var told = {};   // the fields that have been looked at
  var meant = {};  // what has been told, and goes when it is sent again

  function labelOf(field) { return form.querySelector('label[for="' + field.id + '"]').textContent; }

  function numberProblem(field, range) {
    var text = field.value.trim(), number = Number(text), whole = /^\d+$/.test(text);
    if (range.most) {
      if (whole && number >= range.least && number <= range.most) return '';
      return labelOf(field) + ' takes a whole number from ' + range.least + ' to ' + range.most + ', for example ' + range.example + '.';
    }
    return /^[+-]?\d+(\.\d*)?$/.test(text) ? '' : labelOf(field) + ' takes a number, for example ' + range.example + '.';
  }

  function isPort(text) { return /^\d+$/.test(text) && Number(text) >= 1 && Number(text) <= 65535; }

  // What the program reads in a server field: { scheme, host, port }, port '' without one. null where it reads nothing.
  function readServer(text) {
    var mark, parts, scheme = '';
    text = text.replace(/^ +| +$/g, '');
    mark = text.indexOf('://');
    if (mark >= 0) {
      scheme = text.slice(0, mark).toLowerCase();
      text = text.slice(mark + 3).replace(/^ +/, '');
    }
    parts = text.charAt(0) === '[' ? /^\[([^\]]+)\](?::(\d+))?$/.exec(text)
      : text.split(':').length === 2 ? /^([^:]+):(\d+)$/.exec(text) : text && [text, text, ''];
    if (!parts || /[/\\@ \t]/.test(parts[1]) || (parts[2] && !isPort(parts[2]))) parts = null;
    return { scheme: scheme, host: parts && parts[1], port: parts && parts[2] ? Number(parts[2]) : 0 };
  }

  function serverProblem(field, port, sending) {
    var server = readServer(field.value), typed = field.value.trim(), example = 'mail.example:' + port;
    if (server.scheme && !/^(tls|starttls|plain)$/.test(server.scheme)) {
      return '"' + typed + '" starts with a kind of connection that Vornelle does not know. In front of the server\'s name stand tls://, starttls://, plain:// or nothing.';
    }
    if (!server.host) return '"' + typed + '" is no server that can be read. Enter a name, or a name and a port, such as ' + example + '.';
    if (server.scheme === 'plain' && server.port === port && !(sending && meant[field.id] === field.value)) {
      return 'Servers wait for an encrypted connection at port ' + port + ', and plain:// asks for none: such a server does not answer, and any other gets your password in plain text. Enter ' +
        server.host + ':' + port + '. If you do mean it, press Update again.';
    }
    return '';
  }

  function problemOf(field, sending) {
    // What stands there already is not held against whoever changes something else; an empty field changes nothing.
    if (field.value === '' || field.value === field.defaultValue) return '';
    if (NUMBERS[field.id]) return numberProblem(field, NUMBERS[field.id]);
    if (SERVERS[field.id]) return serverProblem(field, SERVERS[field.id], sending);
    if (field.id === 'EMAIL_ADDRESS' && !/[^@]@[^@]/.test(field.value)) return 'An email address has an "@" in it, for example joe@mail.example.';
    return '';
  }

  function fields() { return Array.prototype.slice.call(form.querySelectorAll('input[id]')); }
  function changed() {
    return fields().some(function (field) {
      return field.type === 'checkbox' ? field.checked !== field.defaultChecked : field.value !== field.defaultValue;
    });
  }

  function look(field, sending) {
    var text = field.type === 'text' && told[field.id] ? problemOf(field, sending) : '';
    if (text) { field.setAttribute('data-problem', text); } else { field.removeAttribute('data-problem'); }
  }

  // Nobody is corrected in the middle of a word: a problem is told once a field is left, or the form is to be sent, and
  // from then on with each letter. A moment later, since the button must not move under a click.
  function onChange(event) {
    var field = event.target;
    setTimeout(function () {
      told[field.id] = true;
      field.dispatchEvent(new Event('input', { bubbles: true }));
    }, 300);
  }

  // What was told at the form's own button is sent when it is sent again.
  function onSubmit() {
    fields().forEach(function (field) { told[field.id] = true; look(field, true); });
    setTimeout(function () {
      Object.keys(SERVERS).forEach(function (name) { meant[name] = document.getElementById(name).value; });
    }, 0);
  }

  // What scrolls into view stays clear of the bar, which is higher where its words take several lines.
  function isBarFixed() { return getComputedStyle(bar).position === 'sticky'; }
  function keepClear() {
    document.documentElement.style.scrollPaddingBottom = (isBarFixed() ? bar.offsetHeight : 0) + 12 + 'px';
  }
  // The field that is being typed into, with its hint and its problem. Behind the browser's own scrolling, which has only
  // the field itself in mind and may come late. Nothing moves under a pointer that is down: its click would go elsewhere.
  var isPressed = false, isHeldBack = false;
  function showWhole() {
    var row = document.activeElement && document.activeElement.closest('.field'), box, hidden;
    if (isPressed) isHeldBack = true;
    if (!row || isPressed) return;
    box = row.getBoundingClientRect();
    hidden = box.bottom + 8 - (isBarFixed() ? Math.min(bar.getBoundingClientRect().top, innerHeight) : innerHeight);
    if (hidden >= 1) window.scrollBy(0, Math.min(hidden, box.top - 8));
  }
  function showWholeSoon() { [0, 150].forEach(function (delay) { setTimeout(showWhole, delay); }); }

  // The session's end loads the page anew; what was typed is kept then.
  function sessionIsOver() {
    var reload = document.querySelector('meta[http-equiv="refresh"]');
    return reload && performance.now() / 1000 > parseInt(reload.content, 10) - 2;
  }
  function mustAsk() { return changed() && !saving && !left && !sessionIsOver(); }

  function askAt(event) {
    if (!mustAsk()) return;
    if (confirm(ASK)) { left = true; return; }
    event.preventDefault();
    event.stopImmediatePropagation();
  }

  document.addEventListener('click', function (event) {
    var link = event.target.closest('a[href]');
    if (!link || event.button || event.ctrlKey || event.shiftKey || event.metaKey || link.target === '_blank') return;
    if (link.href.split('#')[0] !== location.href.split('#')[0]) askAt(event);
  }, true);
  document.addEventListener('submit', function (event) {
    if (event.target !== form) askAt(event);
  }, true);
  window.addEventListener('submit', function (event) {
    if (event.target === form && !event.defaultPrevented) saving = true;
  });
  window.addEventListener('beforeunload', function (event) {
    if (!mustAsk()) return;
    event.preventDefault();
    event.returnValue = '';
  });
  window.addEventListener('pageshow', function () { saving = left = false; });

  document.addEventListener('DOMContentLoaded', function () {
    form = document.getElementById('settings');
    bar = form.querySelector('.save');
    form.addEventListener('input', function (event) { look(event.target); }, true);
    form.addEventListener('change', onChange);
    form.addEventListener('submit', onSubmit);
    ['focusin', 'keyup', 'input', 'submit'].forEach(function (name) { form.addEventListener(name, showWholeSoon); });
    window.addEventListener('pointerdown', function () { isPressed = true; isHeldBack = false; }, true);
    // A press ends in no event where it opens something of the browser's own; keys come behind it.
    ['pointerup', 'pointercancel', 'keydown'].forEach(function (name) {
      window.addEventListener(name, function () {
        isPressed = false;
        if (isHeldBack) showWholeSoon();
        isHeldBack = false;
      }, true);
    });
    keepClear();
    window.addEventListener('resize', keepClear);
  });
})();
