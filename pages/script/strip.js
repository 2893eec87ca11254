// The strip at the top of each page: what is under way, what happened last, what is switched off, and the first steps that
// are still to be done. Filled from the program's status, which is asked for while the page is looked at. Runs in the
// head; the build puts it into top.inc.
'use strict';
(function () {
  var WORKING = 1000, IDLE = 10000, OLD = 300;  // milliseconds between two looks; seconds until good news goes
  var NEWS = 10;  // seconds for which a result is shown at the lower edge too, where the strip is out of sight
  var get = Document.prototype.getElementById, find = Document.prototype.querySelector, make = Document.prototype.createElement;
  var shown = '', told = '', timer = 0;

  function strip() { return get.call(document, 'strip'); }
  function page() { return (document.documentElement.getAttribute('data-page') || '').toLowerCase(); }
  function pageLink(name) { return find.call(document, 'nav a[data-for="' + name + '"]'); }
  // "status.json?s=...", nothing over the plain wire.
  function address() { return strip().getAttribute('data-status'); }

  function element(name, text, type) {
    var one = make.call(document, name);
    if (text) one.textContent = text;
    if (type) one.className = type;
    return one;
  }
  function clock(seconds) {
    return new Date(seconds * 1000).toLocaleTimeString([], { hour: '2-digit', minute: '2-digit' });
  }
  function plural(n, one, many) { return n + ' ' + (n === 1 ? one : many); }

  function remembered(value) {
    try {
      if (value !== undefined) sessionStorage.setItem('strip', value);
      return sessionStorage.getItem('strip');
    } catch (e) { return ''; /* a browser that stores nothing */ }
  }

  // The program's own sentence, in plainer words where it is short.
  function plainWords(text) {
    var run = /^Mail filtered: +(-?\d+) msgs\. +(\d+) spam\.$/.exec(text);
    if (!run) return text;
    return 'Filtered: ' + plural(Number(run[1]), 'message stays', 'messages stay') + ' in your mailbox, ' +
      plural(Number(run[2]), 'message lies', 'messages lie') + ' in the SpamBox.';
  }

  // They come in the order in which they came about. Why something failed is also told by what failed, where that was an
  // action.
  function latestResult(status) {
    var name = Object.keys(status.results).filter(function (one) { return one !== 'failure'; }).pop(), result = status.results[name];
    return result ? { name: name, time: result.time, good: result.good, text: plainWords(result.text) } : null;
  }

  function putBack(removed) {
    var form = element('form'), field = element('input'), button = element('button', 'Put it back');
    function encoded(letter) {
      return /^[ -$'-~]$/.test(letter) && letter !== '%' ? letter :
        letter.codePointAt(0) < 128 ? '%' + ('0' + letter.codePointAt(0).toString(16)).slice(-2) : '%26#' + letter.codePointAt(0) + ';';
    }
    form.method = 'post';
    form.action = address().replace('status.json', 'addtolist.cgi');
    form.enctype = 'text/plain';
    field.type = 'hidden';
    field.name = 'addtolist';
    field.value = '&addentries=' + removed.entries.map(function (entry) { return Array.from(entry).map(encoded).join(''); }).join('%0A') +
      '&type=' + removed.list + '&END=1';
    form.append(field, button);
    return form;
  }

  function resultLine(status) {
    var result = latestResult(status), line, button;
    if (!result || (result.good && status.now - result.time > OLD) || remembered() === result.name + result.time) return null;
    line = element('p', result.text + ' ', result.good ? 'good' : 'bad');
    line.append(element('small', clock(result.time)));
    if (result.name === 'remove' && status.removed) line.append(putBack(status.removed));
    button = element('button', 'Close', 'quiet');
    button.type = 'button';
    button.addEventListener('click', function () { remembered(result.name + result.time); show(status); });
    line.append(button);
    return line;
  }

  // Somebody far down a long page sees what came of a click there too, once, until something else has the focus: nothing may
  // lie over that. The strip has told it to those who listen.
  function showBelow(status) {
    var result = latestResult(status), id = result ? result.name + result.time : '';
    if (status.underWay || id === told) return;
    told = id;
    if (!result || status.now - result.time >= NEWS || strip().getBoundingClientRect().bottom >= 0) return;
    get.call(document, 'below').textContent = result.text;
    get.call(document, 'below').className = result.good ? '' : 'bad';
    setTimeout(hideBelow, 1000 * NEWS);
  }
  function hideBelow() { get.call(document, 'below').textContent = ''; }

  // A sentence with a link behind it to the place where that is changed.
  function noteLine(text, link, target) {
    var line = element('p', text + ' ', 'note'), to = element('a', link);
    to.href = target;
    line.append(to);
    return line;
  }

  function inboxLine(status) {
    var failure = status.results.failure;
    if (page() !== 'inbox' || status.inbox.fresh || !failure) return null;
    return element('p', status.inbox.fetched
      ? 'Not reached at ' + clock(failure.time) + ', this list is from ' + clock(status.inbox.fetched) + '. ' + failure.text
      : 'The mailbox was not reached at ' + clock(failure.time) + '. ' + failure.text, 'bad');
  }

  function stepsLine(status) {
    var setup = status.setup, list, steps;
    if (!setup) return null;
    steps = [
      [setup.mailbox, 'Enter your mailbox', pageLink('config').href],
      [setup.friends, 'Put the people you know on the FriendList', pageLink('friendlist').href],
      [setup.run, 'Press Filter Mail and look through the SpamBox', pageLink('spambox').href],
      [status.active && !status.testMode, 'When only spam is caught: test mode off, Active on', pageLink('config').href + '#ACTIVE'],
    ];
    if (steps.every(function (step) { return step[0]; })) return null;
    list = element('ol', '', 'steps');
    steps.forEach(function (step) {
      var item = element('li'), link;
      if (step[0]) {
        item.className = 'done';
        item.textContent = step[1];
        item.append(element('small', ' done'));
      } else {
        link = element('a', step[1]);
        link.href = step[2];
        item.append(link);
      }
      list.append(item);
    });
    return list;
  }

  function show(status) {
    var place = strip(), settings = pageLink('config').href, lines, now;
    lines = [
      status.underWay ? element('p', status.underWay.text + '...', 'working') : null,
      resultLine(status),
      inboxLine(status),
      status.testMode ? noteLine('Test mode: nothing is removed from your mailbox.', 'Change', settings + '#TEST_MODE') : null,
      status.active ? null : noteLine('Automatic filtering is off.', 'Change', settings + '#ACTIVE'),
      stepsLine(status),
    ].filter(Boolean);
    // What has not changed is not said again.
    now = lines.map(function (line) { return line.outerHTML; }).join('');
    showBelow(status);
    if (now === shown) return;
    shown = now;
    place.replaceChildren.apply(place, lines);
  }

  function look() {
    var request = new XMLHttpRequest();
    clearTimeout(timer);
    if (!address() || document.hidden) return;
    request.open('GET', address());
    request.onload = function () {
      var status = null;
      try { status = JSON.parse(request.responseText); } catch (e) { return; /* the session is over: the page will tell */ }
      show(status);
      timer = setTimeout(look, status.underWay ? WORKING : IDLE);
    };
    request.onerror = function () { timer = setTimeout(look, IDLE); };
    request.send();
  }

  // The page comes with the status of the moment in which it was made, so that nothing moves once it is seen.
  document.addEventListener('DOMContentLoaded', function () {
    if (!address()) return;
    show(JSON.parse(strip().getAttribute('data-now')));
    timer = setTimeout(look, WORKING);
  });
  document.addEventListener('visibilitychange', look);
  document.addEventListener('entries-added', look);
  document.addEventListener('focusin', hideBelow);
  // While a form's answer is waited for, the page stays and tells how far it is.
  document.addEventListener('submit', function () { setTimeout(look, WORKING / 2); });
  window.addEventListener('pageshow', function (event) { if (event.persisted) look(); });
})();
