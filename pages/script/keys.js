// Keys of the lists and of the reader, as mail readers have them. They are single letters, so they do nothing while
// something is typed, and can be switched off.
'use strict';
(function () {
  var find = Document.prototype.querySelector.bind(document), findAll = Document.prototype.querySelectorAll.bind(document);
  var dialog = null;
  var LIST = [['j', 'next row'], ['k', 'row before'], ['o or Enter', 'open the message'],
    ['d', 'tick Delete in the row, or take the tick away; with Shift all rows since the last tick'],
    ['r', 'the same with Restore (SpamBox)'], ['x', 'take the ticks of the row away, or tick Delete where there is none'],
    ['f, e', 'put the sender on the FriendList, on the EnemyList'], ['b', 'go to the button that carries the ticks out'],
    ['/', 'go to the filter; Escape empties it'], ['n, p', 'next page, page before']];
  var READER = [['j', 'next message'], ['k', 'message before'], ['u', 'back to the list'], ['r', 'restore'],
    ['d', 'delete, after a question'], ['f, e', 'put the sender on the FriendList, on the EnemyList']];

  function stored(value) {
    try {
      if (value !== undefined) localStorage.setItem('keys', value);
      return localStorage.getItem('keys');
    } catch (e) { return null; /* a browser that stores nothing */ }
  }
  function element(name, text) {
    var one = document.createElement(name);
    if (text) one.textContent = text;
    return one;
  }
  function list(nodes) { return Array.prototype.slice.call(nodes); }

  // ---- the help ----

  function keyList(title, keys) {
    var all = element('dl');
    keys.forEach(function (key) {
      var term = element('dt');
      key[0].split(/( or |, )/).forEach(function (part) { term.append(/^( or |, )$/.test(part) ? part : element('kbd', part)); });
      all.append(term, element('dd', key[1]));
    });
    return [element('h3', title), all];
  }
  function help() {
    var label = element('label'), box = element('input'), close = element('button', 'Close');
    if (!dialog) {
      dialog = element('dialog');
      dialog.id = 'help';
      dialog.setAttribute('aria-labelledby', 'help-title');
      dialog.append(element('h2', 'Keys'));
      dialog.firstChild.id = 'help-title';
      keyList('In the Inbox and the SpamBox', LIST).concat(keyList('In a message', READER)).forEach(function (part) { dialog.append(part); });
      box.type = 'checkbox';
      box.id = 'keys-on';
      box.addEventListener('change', function () { stored(box.checked ? 'on' : 'off'); });
      label.append(box, ' Use these keys, and ', element('kbd', '?'), ' for this list');
      close.type = 'button';
      close.addEventListener('click', function () { dialog.close(); });
      dialog.append(label, close);
      find('main').append(dialog);
    }
    find('#keys-on').checked = stored() !== 'off';
    if (!dialog.open) dialog.showModal();
  }

  // ---- rows ----

  function rows() { return list(findAll('#boxes tbody tr')).filter(function (row) { return !row.hidden && row.querySelector('input'); }); }
  function currentRow() {
    var active = document.activeElement;
    return active && active.closest ? active.closest('#boxes tbody tr') : null;
  }
  // The part of a row that gets the focus: the column that has it already, else the subject.
  function partOf(row, like) {
    var cell = like && like.closest('td'), column = cell && /\b(from|restore|delete)\b/.exec(cell.className);
    return (column && row.querySelector('td.' + column[1] + ' a, td.' + column[1] + ' input')) || row.querySelector('td.subject a, td.subject span') ||
      row.querySelector('a, input');
  }
  var last = null;  // the row that had the focus last
  function step(by) {
    var all = rows(), now = currentRow(), at = all.indexOf(now || last), next = all[at < 0 ? 0 : !now ? at : at + by];
    if (next) partOf(next, now && document.activeElement).focus();
  }
  function box(row, column) { return row.querySelector('td.' + column + ' input'); }
  function change(boxes, on) {
    boxes.forEach(function (one) { if (one) one.checked = on; });
    EventTarget.prototype.dispatchEvent.call(find('#boxes'), new Event('change'));
  }
  var lastTicked = {};
  function tick(row, column, range) {
    var one = box(row, column), all = rows(), from = all.indexOf(lastTicked[column]), to = all.indexOf(row);
    if (!one) return;
    if (range && from >= 0) {
      change(all.slice(Math.min(from, to), Math.max(from, to) + 1).map(function (other) { return box(other, column); }), true);
    } else {
      change([one], !one.checked);
    }
    lastTicked[column] = row;
  }
  function clear(row) {
    var both = [box(row, 'restore'), box(row, 'delete')].filter(Boolean);
    if (both.some(function (one) { return one.checked; })) change(both, false); else tick(row, 'delete', false);
  }
  function press(selector, within) {
    var one = (within || document.body).querySelector(selector);
    if (one && !one.disabled) one.click();
    return !!one;
  }
  function link(words, place) {
    var found = list(findAll(place + ' a')).filter(function (one) { return one.textContent.trim() === words; })[0];
    if (found) found.click();
    return !!found;
  }

  function onList(key, shift) {
    var row = currentRow();
    switch (key) {
      case 'j': step(1); return true;
      case 'k': step(-1); return true;
      case '/': find('#filter').focus(); find('#filter').select(); return true;
      case 'n': return link('Next', 'h1');
      case 'p': return link('Prev', 'h1');
      case 'b': find('[name="SUBMIT3"]').focus(); return true;
    }
    if (!row) return false;
    switch (key) {
      case 'd': tick(row, 'delete', shift); return true;
      case 'r': tick(row, 'restore', shift); return true;
      case 'x': clear(row); return true;
      case 'o': return press('td.subject a', row);
      case 'f': return press('.lists button.friend', row);
      case 'e': return press('.lists button.enemy', row);
    }
    return false;
  }
  function inReader(key) {
    switch (key) {
      case 'j': return link('Next', '.around');
      case 'k': return link('Previous', '.around');
      case 'u': return press('.around a');
      case 'f': return press('.acts form[action^="add2white"] button');
      case 'e': return press('.acts form[action^="add2black"] button');
      case 'r': return !!find('.acts form.restore[data-box="spam"]') && press('.acts form.restore button');
      case 'd': return press('.acts button.danger');
    }
    return false;
  }

  // Letters are text in a field, and choose in a list of choices.
  function isTyping(target) {
    return !!target.closest('select, textarea, [contenteditable], dialog') || (target.localName === 'input' && !/^(checkbox|radio|button|submit)$/.test(target.type));
  }

  document.addEventListener('DOMContentLoaded', function () {
    var reader = find('main.preview'), button = find('#keys'), around = find('.around');
    if (!window.HTMLDialogElement || (!reader && !find('.view'))) return;
    if (reader && around) {
      button = element('button', 'Keys');
      button.type = 'button';
      button.id = 'keys';
      around.append(' ', button);
    }
    button.addEventListener('click', help);
    document.addEventListener('focusin', function () { last = currentRow() || last; });
    document.addEventListener('keydown', function (event) {
      var key = event.key.toLowerCase();
      if (event.defaultPrevented || event.ctrlKey || event.altKey || event.metaKey || event.isComposing) return;
      if (stored() === 'off' || !event.target.closest || isTyping(event.target) || (dialog && dialog.open)) return;
      if (key === '?') { help(); event.preventDefault(); return; }
      if (reader ? inReader(key) : onList(key, event.shiftKey)) event.preventDefault();
    });
  });
})();
