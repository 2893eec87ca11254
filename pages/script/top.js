// The script of every page but the log-in page. Runs in the head; the build puts it into top.inc.
'use strict';
(function () {
  // Names in a document hide the document's own methods, and a form's fields hide those of the form: what is asked of
  // these two is asked by methods taken before anything of the page has been read.
  var call = Function.prototype.call;
  function method(kind, name) { return call.bind(kind.prototype[name]); }
  function getter(kind, name) { return call.bind(Object.getOwnPropertyDescriptor(kind.prototype, name).get); }
  var attribute = method(Element, 'getAttribute'), setAttribute = method(Element, 'setAttribute');
  var within = method(Element, 'querySelectorAll'), inDocument = method(Document, 'querySelectorAll').bind(null, document);
  var byId = method(Document, 'getElementById').bind(null, document);
  var make = method(Document, 'createElement').bind(null, document);
  var listen = method(EventTarget, 'addEventListener'), tell = method(EventTarget, 'dispatchEvent');
  var fieldsOf = getter(HTMLFormElement, 'elements');

  var root = getter(Document, 'documentElement')(document);
  var page = (attribute(root, 'data-page') || '').toLowerCase();
  var encodable = /^[\x00-\xff\u20ac\u201a\u0192\u201e\u2026\u2020\u2021\u02c6\u2030\u0160\u2039\u0152\u017d\u2018\u2019\u201c\u201d\u2022\u2013\u2014\u02dc\u2122\u0161\u203a\u0153\u017e\u0178]*$/;

  function all(selector, element) { return Array.prototype.slice.call(element ? within(element, selector) : inDocument(selector)); }
  function first(selector, element) { return all(selector, element)[0] || null; }
  // A form's field of that name.
  function fieldOf(form, name) {
    return Array.prototype.filter.call(fieldsOf(form), function (field) { return field.name === name; })[0] || null;
  }

  // Letters outside Windows-1252 go as their references in list entries and searches, the "&" of which must not end
  // the value. A form's other values are for mail servers and the settings file, which know no such references.
  function sendsLetters(form) { return attribute(form, 'data-send') !== 'value'; }
  function withReferences(text) {
    return Array.from(text).map(function (letter) {
      if (encodable.test(letter)) return letter;
      return /^[\ud800-\udfff]$/.test(letter) ? '?' : '%26#' + letter.codePointAt(0) + ';';
    }).join('');
  }

  // From a browser's page of messages entries go by another way (entries.js), which takes any text.
  function sentInPlace(form) { return attribute(form, 'id') === 'form1' && !!attribute(byId('strip'), 'data-status'); }

  // What cannot be sent. A value ends at the first "&" and is not decoded; an entry is decoded by a fixed table.
  function problemOf(field, form) {
    var text = field.value;
    if (sentInPlace(form)) return '';
    if (!sendsLetters(form) && !encodable.test(text)) return 'A character of this text lies outside the character set that Vornelle works with (Windows-1252), so it cannot be sent.';
    if (attribute(form, 'data-send') === 'entry') {
      var file = attribute(form, 'data-file'), way = file ? 'edit the list file data\\' + file.toLowerCase() + '.txt' : 'edit the list file in the data folder';
      way = 'Use the import dialog of the main window (FriendList) or ' + way + '.';
      if (text.indexOf('+') >= 0) return 'A "+" cannot be put into a list from here. Shorten the entry to a part without it (for example "@" and the domain). ' + way;
      if (/%(26|28|29|23|27|60)/.test(text)) return 'An entry with "' + /%(26|28|29|23|27|60)/.exec(text)[0] + '" would be stored as another text. ' + way;
      return '';
    }
    if (text.indexOf('&') >= 0) {
      return field.type === 'password' ? 'A password with "&" cannot be sent from a page: it would end at that character. Set it in the settings of the main window.'
                                       : 'An "&" cannot be sent from a page: the text would end there.';
    }
    if (field.hasAttribute('data-mask') && text !== field.defaultValue && text.indexOf('*') >= 0) return 'A password with "*" keeps the stored one. Clear the field first, then type the new password in full.';
    // What a page's own script has found.
    return field.getAttribute('data-problem') || '';
  }

  // A problem stands beside what the page says of the field anyway.
  function describe(field, id, add) {
    var ids = (field.getAttribute('aria-describedby') || '').split(' ').filter(function (one) { return one && one !== id; });
    if (add) ids.push(id);
    if (ids.length) field.setAttribute('aria-describedby', ids.join(' ')); else field.removeAttribute('aria-describedby');
  }

  // The field with all that is said of it, the problem last.
  function reveal(field) {
    var place = byId(field.id + '-problem');
    field.scrollIntoView({ block: 'nearest' });
    if (place && place.textContent) place.scrollIntoView({ block: 'nearest' });
  }

  // What is announced has to be there before it says anything.
  function problemPlace(field) {
    var id = field.id + '-problem', place = byId(id);
    if (place) return place;
    place = make('p');
    place.id = id;
    place.className = 'problem';
    place.setAttribute('role', 'alert');
    (field.closest('.field') || field.closest('.line').parentNode).appendChild(place);
    return place;
  }

  function showProblem(field, form) {
    var text = problemOf(field, form), place = problemPlace(field);
    place.textContent = text;
    if (text) field.setAttribute('aria-invalid', 'true'); else field.removeAttribute('aria-invalid');
    describe(field, place.id, text);
    return text;
  }

  function typed(form) {
    return Array.prototype.filter.call(fieldsOf(form), function (e) { return /^(text|password|number|search)$/.test(e.type); });
  }

  // Values are read as they stand: the form leaves as one text/plain field that spells them out, joined by "&".
  function sendAsTyped(form) {
    var how = attribute(form, 'data-send');
    function encode(value) {
      if (how === 'entry') value = value.replace(/%/g, '%25').replace(/&/g, '%26');
      return sendsLetters(form) ? withReferences(value) : value;
    }
    setAttribute(form, 'enctype', 'text/plain');
    listen(form, 'formdata', function (event) {
      var data = event.formData, names = [], text = '', at;
      data.forEach(function (value, name) {
        names.push(name);
        text += (text ? '&' : '') + name + '=' + encode(value);
      });
      names.forEach(function (name) { data.delete(name); });
      at = text.indexOf('=');
      data.append(text.slice(0, at), text.slice(at + 1));
    });
    typed(form).forEach(function (field) {
      problemPlace(field);
      field.addEventListener('input', function () { if (showProblem(field, form) && field.matches(':focus')) reveal(field); });
    });
  }

  // At work: one form at a time, its button shows it, and it comes back with the page.
  var working = null;
  function atWork(form, button) {
    working = { button: button, text: button && button.textContent };
    setTimeout(function () {
      if (!working) return;
      byId('atwork').textContent = attribute(form, 'data-wait') || 'One moment...';
      if (!button) return;
      button.disabled = true;
      button.classList.add('atwork');
      if (button.dataset.busy) button.textContent = button.dataset.busy;
    }, 0);
  }
  function atRest() {
    if (working && working.button) {
      working.button.disabled = false;
      working.button.classList.remove('atwork');
      working.button.textContent = working.text;
    }
    working = null;
    var place = byId('atwork');
    if (place) place.textContent = '';
  }

  function onSubmit(event) {
    var form = event.target, button = event.submitter || first('button', form), wrong;
    if (working) { event.preventDefault(); return; }
    if (attribute(form, 'data-send')) {
      wrong = typed(form).filter(function (field) { return showProblem(field, form); })[0];
      if (wrong) { event.preventDefault(); wrong.focus(); reveal(wrong); return; }
    }
    if (attribute(form, 'id') === 'boxes' && !mayDelete(form)) { event.preventDefault(); return; }
    if (attribute(form, 'data-ask') && !confirm(attribute(form, 'data-ask'))) { event.preventDefault(); return; }
    atWork(form, button);
  }

  // The message pages. Row boxes are named by a prefix and the row's number.
  function rowBoxes(form, prefix) {
    return all('tbody input[type="checkbox"]', form).filter(function (box) {
      return box.name.slice(0, prefix.length) === prefix && /^\d+$/.test(box.name.slice(Number(attribute(form, 'data-length'))));
    });
  }
  function shown(boxes) { return boxes.filter(function (box) { return !box.closest('tr').hidden; }); }
  function ticked(form, prefix) { return rowBoxes(form, prefix).filter(function (box) { return box.checked; }); }
  function messages(n) { return n === 1 ? '1 message' : n + ' messages'; }

  function mayDelete(form) {
    var gone = ticked(form, attribute(form, 'data-delete')), back = ticked(form, attribute(form, 'data-restore')), both, away, text = [];
    if (!gone.length && !back.length) { alert('No message is checked.'); return false; }
    if (!latest(form)) {
      alert('The list was shown anew in another window, so the rows of this page no longer count. The page is loaded again: please check the messages once more.');
      location.reload();
      return false;
    }
    away = gone.concat(back).length - shown(gone.concat(back)).length;
    if (!gone.length && !away) return true;
    both = gone.filter(function (box) {
      return back.some(function (other) { return other.closest('tr') === box.closest('tr'); });
    });
    if (back.length) text.push('Restore ' + messages(back.length) + '.');
    if (gone.length) text.push('Delete ' + messages(gone.length) + (page === 'inbox' ? ' from the mail server for good?' : ' from the SpamBox for good?'));
    if (away) text.push((away === 1 ? '1 tick stands' : away + ' ticks stand') + ' in rows that the filter does not show.');
    if (both.length) text.push((both.length === 1 ? '1 of them is' : both.length + ' of them are') + ' checked for both, and deleted only once sent.');
    return confirm(text.join('\n\n'));
  }

  // Row numbers count for the list that was shown last. Other windows tell each other through the store.
  var rowsOf = String(Date.now()) + Math.random();
  function store(kind, name, value) {
    try {
      if (value === undefined) return window[kind].getItem(name);
      if (value === null) window[kind].removeItem(name); else window[kind].setItem(name, value);
    } catch (e) { /* a browser that stores nothing */ }
    return null;
  }
  function latest() { var now = store('localStorage', 'rows'); return !now || now === rowsOf; }

  // Coming back to a page keeps what was checked, by message and not by row: the rows may have moved.
  function messageOf(box) {
    var link = first('.subject a', box.closest('tr'));
    return link ? box.name.slice(0, 1) + ' ' + link.getAttribute('href').replace(/([?&]s=)[A-Z]*/, '$1') : '';
  }
  function keepTicks(form) {
    var again = store('sessionStorage', 'again'), entry = performance.getEntriesByType && performance.getEntriesByType('navigation')[0];
    var boxes = rowBoxes(form, attribute(form, 'data-delete')).concat(rowBoxes(form, attribute(form, 'data-restore')));
    var kept = (store('sessionStorage', 'ticks-' + page) || '').split('\n');
    store('sessionStorage', 'again', null);
    if (again || (entry && entry.type === 'back_forward')) {
      boxes.forEach(function (box) { box.checked = !!messageOf(box) && kept.indexOf(messageOf(box)) >= 0; });
    } else {
      store('sessionStorage', 'ticks-' + page, null);
    }
    window.addEventListener('pagehide', function () {
      store('sessionStorage', 'ticks-' + page, boxes.filter(function (box) { return box.checked; }).map(messageOf).join('\n'));
    });
  }

  function messagePage(form) {
    var field = byId('addinput'), list = byId('form1'), heads = all('thead th', form);
    // Rows that did not come through the gateway name no columns.
    all('tbody tr', form).forEach(function (row) {
      heads.forEach(function (head, i) {
        if (row.cells[i] && !row.cells[i].className) row.cells[i].className = head.className.split(' ').pop();
      });
    });
    var boxes = rowBoxes(form, attribute(form, 'data-delete')).concat(rowBoxes(form, attribute(form, 'data-restore')));
    boxes.forEach(function (box) {
      var subject = first('.subject', box.closest('tr'));
      box.setAttribute('aria-label', (box.name.slice(0, 1) === attribute(form, 'data-delete') ? 'Delete: ' : 'Restore: ') + (subject ? subject.textContent.trim() : ''));
      box.parentNode.classList.add('box');
      box.parentNode.addEventListener('click', function (event) {
        if (event.target === box.parentNode) box.click();
      });
    });
    // A click on a sender puts the address into the field, and ticks the box that the row names.
    listen(form, 'click', function (event) {
      var link = event.target.closest('a[data-sender]'), box;
      if (!link) return;
      field.value = link.dataset.address || link.dataset.sender;
      field.dataset.sender = link.dataset.sender;
      field.dataset.address = link.dataset.address || '';
      box = link.dataset.tick && fieldOf(form, link.dataset.tick);
      if (box) { box.checked = true; tell(form, new Event('change')); }
      shorter(field, list);
      showProblem(field, list);
      setTimeout(function () { field.focus(); }, 0);
    });
    field.addEventListener('input', function () {
      field.dataset.sender = field.dataset.address = '';
      shorter(field, list);
    });
    all('.all', form).forEach(function (box) {
      box.closest('label').hidden = false;
      box.addEventListener('change', function () {
        shown(rowBoxes(form, box.dataset.prefix)).forEach(function (one) { one.checked = box.checked; });
        count();
      });
    });
    var button = fieldOf(form, 'SUBMIT3'), name = button.textContent;
    function count() {
      var gone = ticked(form, attribute(form, 'data-delete')).length, back = ticked(form, attribute(form, 'data-restore')).length;
      if (!working) button.textContent = back && gone ? 'Restore ' + back + ', delete ' + gone : back ? 'Restore ' + back : gone ? 'Delete ' + gone : name;
      if (page !== 'inbox') button.classList.toggle('danger', gone > 0);
      all('.all', form).forEach(function (box) {
        var rows = shown(rowBoxes(form, box.dataset.prefix)), on = shown(ticked(form, box.dataset.prefix)).length;
        box.checked = on > 0 && on === rows.length;
        box.indeterminate = on > 0 && on < rows.length;
      });
    }
    listen(form, 'change', count);
    keepTicks(form);
    count();
    store('localStorage', 'rows', rowsOf);
  }

  // "Bob <bob@example.com>" matches that very spelling only; offer the address and the domain. Of a sender that was
  // clicked the whole text, too.
  function shorter(field, list) {
    var place = first('.shorter', list), typed = /[^\s<>()",;:]+@[^\s<>()",;:]+/.exec(field.value), choices;
    var sender = field.dataset.sender, address = sender ? field.dataset.address : typed ? typed[0] : '';
    choices = (sender ? [sender] : []).concat(address ? [address, address.slice(address.lastIndexOf('@'))] : []);
    choices = choices.filter(function (text, i) { return text !== field.value && choices.indexOf(text) === i; });
    place.textContent = choices.length ? 'Or: ' : '';
    place.hidden = !choices.length;
    choices.forEach(function (text) {
      var button = make('button');
      button.type = 'button';
      button.textContent = button.title = text;
      button.addEventListener('click', function () {
        field.value = text;
        shorter(field, list);
        showProblem(field, list);
        field.focus();
      });
      place.appendChild(button);
    });
  }

  // Entries are removed by their texts: numbers go stale, and count lines that the page does not show.
  function listPage(list) {
    var form = list.form, button = first('button', form), name = button.textContent, texts = make('input');
    function chosen() { return Array.prototype.slice.call(list.selectedOptions); }
    function show() {
      var n = chosen().length;
      if (!working) button.textContent = n > 1 ? 'Remove the ' + n + ' selected entries' : name;
      texts.value = chosen().map(function (option) {
        return option.value + ':' + option.textContent.replace(/[%&\r\n]/g, encodeURIComponent);
      }).join('%0A');
    }
    texts.type = 'hidden';
    texts.name = 'removeentries';
    // Over the plain wire an entry is markup, and its text is not what the file holds.
    if (attribute(byId('strip'), 'data-status')) list.after(texts);
    listen(list, 'change', show);
    show();
  }

  // The page loads itself anew when the session is over; what was typed and not sent would be lost without a word.
  function sessionEnd() {
    var reload = first('meta[http-equiv="refresh"]'), seconds = reload ? parseInt(reload.content, 10) : 0;
    var place = byId('ending');
    function look() {
      var left = seconds - Math.round(performance.now() / 1000);
      if (left > 125) return;
      place.textContent = left > 65 ? 'Your session ends in two minutes.' : 'Your session ends within a minute: save what you have typed.';
    }
    if (seconds > 0) setInterval(look, 5000);
  }

  window.addEventListener('pageshow', function (event) {
    atRest();
    if (event.persisted && byId('boxes')) {
      store('sessionStorage', 'again', '1');
      location.reload();
    }
  });

  listen(document, 'DOMContentLoaded', function () {
    var mark = first('nav a[data-for="' + page + '"]'), boxes = byId('boxes');
    if (mark) mark.setAttribute('aria-current', 'page');
    // The log-in page leaves word when both fields were empty: there is no account yet.
    if (store('sessionStorage', 'setup')) {
      store('sessionStorage', 'setup', null);
      if (page === 'spambox') { location.replace(first('nav a[data-for="config"]').href); return; }
    }
    if ('FormDataEvent' in window) all('form[data-send]').forEach(sendAsTyped);
    // The second click of a double click may come to the next page, where it would send an empty form.
    listen(document, 'click', function (event) {
      if (event.detail > 1 && event.target.closest('button')) event.preventDefault();
    });
    listen(document, 'submit', onSubmit);
    if (boxes) messagePage(boxes);
    all('select#entries').forEach(function (list) {
      var n = list.options.length;
      listPage(list);
      byId('count').textContent = n === 0 ? 'No entries yet' : n === 1 ? '1 entry' : n + ' entries';
    });
    var inbox = first('nav a[data-for="inbox"]');
    inbox.addEventListener('click', function (event) {
      if (event.button === 0 && !event.ctrlKey && !event.shiftKey && !event.metaKey && !working) byId('atwork').textContent = 'Asking the mail server for your Inbox...';
    });
    all('.result').forEach(function (result) {
      var last = first('p', result);
      result.hidden = !last || last.textContent.trim() === 'Last search:';
    });
    all('[data-mask]').forEach(function (field) { field.addEventListener('focus', function () { field.select(); }); });
    sessionEnd();
  });
})();
