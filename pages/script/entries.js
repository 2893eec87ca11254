// Before an entry goes on a list the program is asked whether it would match nearly everybody, and the user where it
// would. On the pages of messages the entry is sent from here, so that the page, its ticks and the focus stay. Runs in the
// head; the build puts it into top.inc.
//
// Told by others:  "add-entries", { list, entries, failed }   puts them on the list
// Tells others:    "entries-added", { list, rows }            what came of it stands in the status; `rows` match them
'use strict';
(function () {
  var get = Document.prototype.getElementById, find = Document.prototype.querySelectorAll;
  var attribute = Element.prototype.getAttribute;
  var asking = false, passed = null;

  function all(selector) { return Array.prototype.slice.call(find.call(document, selector)); }
  // Of the program's own addresses, with the session; "" over the plain wire.
  function address(name) { return attribute.call(get.call(document, 'strip'), 'data-status').replace('status.json', name); }

  function ask(method, name, body, done) {
    var request = new XMLHttpRequest(), place = get.call(document, 'atwork');
    var patience = setTimeout(function () { place.textContent = 'One moment...'; }, 500);
    function answered(text) {
      clearTimeout(patience);
      place.textContent = '';
      done(text);
    }
    request.open(method, address(name));
    if (body) request.setRequestHeader('Content-Type', 'text/plain');
    request.onload = function () { answered(request.status === 200 ? request.responseText : ''); };
    request.onerror = function () { answered(''); };
    request.send(body);
  }
  function read(text) {
    try { return JSON.parse(text); } catch (e) { return null; /* the session is over, perhaps */ }
  }

  // The message page's rows, by their numbers: "&box=spam&first=0&last=14".
  function shownRows() {
    var boxes = get.call(document, 'boxes'), numbers;
    if (!boxes) return '';
    numbers = all('#boxes tbody td.delete input').map(function (box) { return Number(/\d+$/.exec(box.name)); });
    return '&box=' + (attribute.call(document.documentElement, 'data-page') === 'inbox' ? 'inbox' : 'spam') +
      '&first=' + Math.min.apply(null, numbers) + '&last=' + Math.max.apply(null, numbers);
  }

  function question(list, entries, answer) {
    var one = entries.length === 1, lines = [];
    if (!answer.entries.length) return '';
    answer.entries.slice(0, 5).forEach(function (entry) {
      lines.push((one ? '' : '"' + entry.entry + '": ') + entry.doubts.join('\n'));
    });
    if (answer.entries.length > 5) lines.push('And ' + (answer.entries.length - 5) + ' more.');
    return 'Put ' + (one ? '"' + entries[0] + '"' : 'these ' + entries.length + ' entries') + ' on the ' + list + '?\n\n' +
      lines.join('\n') + (answer.matches ? '\n\n' + answer.matches : '');
  }

  // done(answer, true) where the entries may go on the list. Where there is no answer they may: what follows will tell why.
  function check(list, entries, done) {
    var form = 'list=' + list + '&entries=' + entries.map(encodeURIComponent).join('%0A') + shownRows();
    asking = true;
    ask('POST', 'entries.json', form, function (text) {
      var answer = read(text), words = answer && question(list, entries, answer);
      asking = false;
      done(answer, !words || confirm(words));
    });
  }

  // Letters beyond ASCII go as references.
  function encoded(letter) {
    return /^[ -~]$/.test(letter) ? encodeURIComponent(letter) : '%26%23' + letter.codePointAt(0) + '%3B';
  }
  function send(list, entries, answer, failed) {
    var texts = entries.map(function (entry) { return Array.from(entry).map(encoded).join(''); });
    ask('POST', 'addtolist.cgi', 'addtolist=&addentries=' + texts.join('%0A') + '&type=' + list + '&END=1', function (sent) {
      ask('GET', 'status.json', '', function (text) {
        var status = read(text), result = status && status.results.add;
        if (!sent || !result) { failed(); return; }
        document.dispatchEvent(new CustomEvent('entries-added', { detail: { list: list, rows: result.good && answer ? answer.rows : [] } }));
      });
    });
  }

  document.addEventListener('add-entries', function (event) {
    var order = event.detail;
    if (asking) return;
    check(order.list, order.entries, function (answer, agreed) {
      if (agreed) send(order.list, order.entries, answer, function () { location.reload(); });
    });
  });

  function listOf(form, button) {
    var action = attribute.call(button || form, 'formaction') || attribute.call(form, 'action') || '';
    if (/^add2white/.test(action)) return 'FriendList';
    if (/^add2black/.test(action)) return 'EnemyList';
    return /^addtolist/.test(action) ? attribute.call(form, 'data-file') : '';
  }

  // The form goes on its way as if it had not been held up.
  function letPass(form, button) {
    passed = form;
    form.requestSubmit(button);
    passed = null;
  }

  function onSubmit(event) {
    var form = event.target, button = event.submitter, list = listOf(form, button), field, entry;
    if (form === passed || !list || !form.requestSubmit || !address('')) return;
    field = form.querySelector('[name="addtolist"]');
    entry = field.value.trim();
    if (!entry || field.getAttribute('aria-invalid') === 'true') return;
    event.preventDefault();
    event.stopImmediatePropagation();
    if (asking) return;
    check(list, [entry], function (answer, agreed) {
      if (!agreed) { if (field.type !== 'hidden') field.focus(); return; }
      if (!get.call(document, 'boxes')) { letPass(form, button); return; }
      send(list, [entry], answer, function () { letPass(form, button); });
      field.value = '';
      field.dispatchEvent(new Event('input'));
    });
  }

  // Before the page's other scripts see it.
  document.addEventListener('submit', onSubmit, true);
})();
